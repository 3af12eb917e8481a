#include "tests/support/handle_count.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

TEST(HandleCount, FollowsHandlesThatAreOpenedAndClosed) {
  const auto before = handleCount();
  ASSERT_TRUE(before);
  EXPECT_GT(*before, 0U);
  {
    std::vector<win32::UniqueKernelHandle> events;
    for (int i = 0; i < 50; ++i) {
      events.emplace_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
      ASSERT_TRUE(events.back());
    }
    EXPECT_EQ(handleCount(), *before + 50);
  }
  EXPECT_EQ(handleCount(), before);
}

TEST(HandleCount, IsZeroForAProcessThatDoesNotExist) {
  EXPECT_EQ(handleCount(0xFFF1), 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
