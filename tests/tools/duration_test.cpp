#include "tools/duration.h"

#include <gtest/gtest.h>

namespace orva_accelerator::tools {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(Duration, UnderstandsUnits) {
  EXPECT_EQ(parseDuration("1500", milliseconds(1)), milliseconds(1500));
  EXPECT_EQ(parseDuration("3", seconds(1)), milliseconds(3000));
  EXPECT_EQ(parseDuration("0.5", seconds(1)), milliseconds(500));
  EXPECT_EQ(parseDuration("250ms", seconds(1)), milliseconds(250));
  EXPECT_EQ(parseDuration("1.5s", milliseconds(1)), milliseconds(1500));
  EXPECT_EQ(parseDuration("86400s", milliseconds(1)), seconds(86400));
}

TEST(Duration, RefusesWhatIsNone) {
  for (const char* text : {"", "s", "ms", "-1", "0", "0.0001s", "1x", "1 s", "1e3", "nan", "inf",
                           "86401s", "99999999999999999999"}) {
    EXPECT_FALSE(parseDuration(text, milliseconds(1)).has_value()) << '"' << text << '"';
  }
}

}  // namespace
}  // namespace orva_accelerator::tools
