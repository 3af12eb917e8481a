#include "win32/detached_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "tests/support/bounded_wait.h"
#include "tests/support/handle_count.h"
#include "tests/support/thread_shortage.h"

namespace orva_accelerator::test {
namespace {

using win32::startDetachedThread;

TEST(DetachedThread, RunsItsBodyOnce) {
  const auto runs = std::make_shared<std::atomic<int>>(0);
  startDetachedThread([runs] { ++*runs; });
  EXPECT_TRUE(waitUntil([&] { return runs.use_count() == 1; }));
  EXPECT_EQ(*runs, 1);
}

// Many that end while they are being let go: each runs its own body, and leaves nothing behind.
TEST(DetachedThread, RunsEachOfManyShortBodiesOnce) {
  constexpr int kThreads = 100;
  const auto runs = std::make_shared<std::vector<std::atomic<int>>>(kThreads);
  startDetachedThread([runs] {});  // Whatever a first thread makes for all.
  ASSERT_TRUE(waitUntil([&] { return runs.use_count() == 1; }));
  const auto handlesBefore = handleCount(GetCurrentProcessId());
  ASSERT_TRUE(handlesBefore);
  for (int i = 0; i < kThreads; ++i) {
    startDetachedThread([runs, i] { ++(*runs)[static_cast<std::size_t>(i)]; });
  }
  ASSERT_TRUE(waitUntil([&] { return runs.use_count() == 1; }));
  for (const auto& run : *runs) ASSERT_EQ(run, 1);
  // Threads that are just ending still hold one.
  EXPECT_TRUE(waitUntil([&] { return *handleCount(GetCurrentProcessId()) <= *handlesBefore + 2; }));
}

TEST(DetachedThread, ThrowsAndDestroysItsBodyWhenThereIsNoThread) {
  const ThreadShortage shortage;
  const auto held = std::make_shared<int>(0);
  try {
    startDetachedThread([held] {});
    ADD_FAILURE() << "no error";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
  }
  EXPECT_EQ(held.use_count(), 1);
}

TEST(DetachedThreadDeathTest, EndsTheProcessWhenItsBodyThrows) {
  EXPECT_EXIT(
      {
        startDetachedThread([] { throw std::runtime_error("out of a thread"); });
        (void)waitUntil([] { return false; });
      },
      testing::ExitedWithCode(3), "");
}

}  // namespace
}  // namespace orva_accelerator::test
