#include "client/error.h"

#include <gtest/gtest.h>

namespace orva_accelerator::client {
namespace {

// Programs compare these.
TEST(ClientError, HasANameForEachKind) {
  EXPECT_STREQ(kindName(ErrorKind::Usage), "usage");
  EXPECT_STREQ(kindName(ErrorKind::NotInstalled), "not-installed");
  EXPECT_STREQ(kindName(ErrorKind::NotRunning), "not-running");
  EXPECT_STREQ(kindName(ErrorKind::NotTheService), "not-the-service");
  EXPECT_STREQ(kindName(ErrorKind::HungUp), "hung-up");
  EXPECT_STREQ(kindName(ErrorKind::Timeout), "timeout");
  EXPECT_STREQ(kindName(ErrorKind::Refused), "refused");
  EXPECT_STREQ(kindName(ErrorKind::Protocol), "protocol");
  EXPECT_STREQ(kindName(ErrorKind::System), "system");
  EXPECT_STREQ(kindName(ErrorKind::Interrupted), "interrupted");
  EXPECT_STREQ(kindName(static_cast<ErrorKind>(99)), "system");
}

TEST(ClientError, SaysTheCodeOnlyWhereACallHasFailed) {
  EXPECT_EQ(describe({ErrorKind::Timeout, "do it", 0, "it is late"}),
            "Could not do it: it is late");
  EXPECT_EQ(describe({ErrorKind::System, "do it", 31, "no"}),
            "Could not do it: no (Win32 error 31)");
}

}  // namespace
}  // namespace orva_accelerator::client
