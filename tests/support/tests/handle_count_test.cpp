#include "tests/support/handle_count.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "tests/support/child_process.h"
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

TEST(HandleCount, TellsThreadsFromTheRest) {
  const auto before = handleCounts();
  ASSERT_TRUE(before);
  {
    std::vector<win32::UniqueKernelHandle> threads;
    for (int i = 0; i < 7; ++i) {
      threads.emplace_back(
          OpenThread(THREAD_QUERY_LIMITED_INFORMATION, FALSE, GetCurrentThreadId()));
      ASSERT_TRUE(threads.back());
    }
    const win32::UniqueKernelHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const auto open = handleCounts();
    ASSERT_TRUE(open);
    EXPECT_EQ(open->threads, before->threads + 7);
    EXPECT_EQ(open->others, before->others + 1);
  }
  const auto after = handleCounts();
  ASSERT_TRUE(after);
  EXPECT_EQ(after->threads, before->threads);
  EXPECT_EQ(after->others, before->others);
}

TEST(HandleCount, CountsThoseOfAnotherProcess) {
  ChildProcess child(testFolder() + L"\\test_support_child.exe", {L"hang"});
  ASSERT_EQ(child.startError(), 0U);
  ASSERT_TRUE(child.waitForOutput("hanging"));
  const auto before = handleCounts(child.id());
  ASSERT_TRUE(before);
  EXPECT_GT(before->threads + before->others, 0U);
  for (int i = 0; i < 3; ++i) {
    HANDLE given = nullptr;  // Goes with the child.
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), child.handle(), &given, 0,
                                FALSE, DUPLICATE_SAME_ACCESS));
  }
  const auto after = handleCounts(child.id());
  ASSERT_TRUE(after);
  EXPECT_EQ(after->threads, before->threads + 3);
  EXPECT_EQ(after->others, before->others);
}

TEST(HandleCount, IsZeroForAProcessThatDoesNotExist) {
  EXPECT_EQ(handleCount(0xFFF1), 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
