#include "tools/exit_codes.h"

#include <gtest/gtest.h>

namespace orva_accelerator::tools {
namespace {

using client::ErrorKind;

// Scripts compare these numbers.
TEST(ExitCodes, AreOneForEachKindOfError) {
  EXPECT_EQ(ExitCodeOf(ErrorKind::System), 1);
  EXPECT_EQ(ExitCodeOf(ErrorKind::Interrupted), 130);
  EXPECT_EQ(ExitCodeOf(ErrorKind::Usage), 2);
  EXPECT_EQ(ExitCodeOf(ErrorKind::NotInstalled), 3);
  EXPECT_EQ(ExitCodeOf(ErrorKind::NotRunning), 3);
  EXPECT_EQ(ExitCodeOf(ErrorKind::NotTheService), 9);
  EXPECT_EQ(ExitCodeOf(ErrorKind::HungUp), 10);
  EXPECT_EQ(ExitCodeOf(ErrorKind::Timeout), 4);
  EXPECT_EQ(ExitCodeOf(ErrorKind::Refused), 5);
  EXPECT_EQ(ExitCodeOf(ErrorKind::Protocol), 6);
  EXPECT_EQ(ExitCodeOf(static_cast<ErrorKind>(99)), 1);
}

}  // namespace
}  // namespace orva_accelerator::tools
