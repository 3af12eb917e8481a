#include "tests/support/bounded_wait.h"

#include <gtest/gtest.h>

namespace orva_accelerator::test {
namespace {

TEST(BoundedWait, ReturnsTrueAsSoonAsTheConditionHolds) {
  int asked = 0;
  EXPECT_TRUE(waitUntil([&] { return ++asked == 3; }));
  EXPECT_EQ(asked, 3);
}

TEST(BoundedWait, ReturnsFalseWhenTheConditionNeverHolds) {
  int asked = 0;
  EXPECT_FALSE(waitUntil(
      [&] {
        ++asked;
        return false;
      },
      std::chrono::milliseconds(10)));
  EXPECT_GE(asked, 1);
}

TEST(BoundedWait, AsksOnceWhenTheLimitIsZero) {
  EXPECT_TRUE(waitUntil([] { return true; }, std::chrono::milliseconds(0)));
}

}  // namespace
}  // namespace orva_accelerator::test
