#include "tools/exit_codes.h"

#include <gtest/gtest.h>

namespace orva_accelerator::tools {
namespace {

using client::ErrorKind;

// Scripts compare these numbers.
TEST(ExitCodes, AreOneForEachKindOfError) {
  EXPECT_EQ(exitCodeOf(ErrorKind::System), 1);
  EXPECT_EQ(exitCodeOf(ErrorKind::Interrupted), 130);
  EXPECT_EQ(exitCodeOf(ErrorKind::Usage), 2);
  EXPECT_EQ(exitCodeOf(ErrorKind::NotInstalled), 3);
  EXPECT_EQ(exitCodeOf(ErrorKind::NotRunning), 3);
  EXPECT_EQ(exitCodeOf(ErrorKind::NotTheService), 9);
  EXPECT_EQ(exitCodeOf(ErrorKind::HungUp), 10);
  EXPECT_EQ(exitCodeOf(ErrorKind::Timeout), 4);
  EXPECT_EQ(exitCodeOf(ErrorKind::Refused), 5);
  EXPECT_EQ(exitCodeOf(ErrorKind::Protocol), 6);
  EXPECT_EQ(exitCodeOf(static_cast<ErrorKind>(99)), 1);
}

}  // namespace
}  // namespace orva_accelerator::tools
