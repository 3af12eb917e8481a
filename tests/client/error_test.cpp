#include "client/error.h"

#include <gtest/gtest.h>

namespace orva_accelerator::client {
namespace {

// Programs compare these.
TEST(ClientError, HasANameForEachKind) {
  EXPECT_STREQ(KindName(ErrorKind::Usage), "usage");
  EXPECT_STREQ(KindName(ErrorKind::NotInstalled), "not-installed");
  EXPECT_STREQ(KindName(ErrorKind::NotRunning), "not-running");
  EXPECT_STREQ(KindName(ErrorKind::NotTheService), "not-the-service");
  EXPECT_STREQ(KindName(ErrorKind::HungUp), "hung-up");
  EXPECT_STREQ(KindName(ErrorKind::Timeout), "timeout");
  EXPECT_STREQ(KindName(ErrorKind::Refused), "refused");
  EXPECT_STREQ(KindName(ErrorKind::Protocol), "protocol");
  EXPECT_STREQ(KindName(ErrorKind::System), "system");
  EXPECT_STREQ(KindName(ErrorKind::Interrupted), "interrupted");
  EXPECT_STREQ(KindName(static_cast<ErrorKind>(99)), "system");
}

TEST(ClientError, SaysTheCodeOnlyWhereACallHasFailed) {
  EXPECT_EQ(Describe({ErrorKind::Timeout, "do it", 0, "it is late"}),
            "Could not do it: it is late");
  EXPECT_EQ(Describe({ErrorKind::System, "do it", 31, "no"}),
            "Could not do it: no (Win32 error 31)");
}

}  // namespace
}  // namespace orva_accelerator::client
