#include "tests/support/thread_count.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

TEST(ThreadCount, FollowsThreadsThatComeAndGo) {
  const auto before = threadCount();
  ASSERT_TRUE(before);
  EXPECT_GE(*before, 1U);
  std::promise<void> over;
  const std::shared_future<void> isOver = over.get_future().share();
  std::vector<std::thread> threads;
  for (int i = 0; i < 5; ++i) threads.emplace_back([isOver] { isOver.wait(); });
  EXPECT_EQ(threadCount(), *before + 5);
  over.set_value();
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(waitUntil([&] { return threadCount() == before; }));
}

TEST(ThreadCount, IsZeroForAProcessThatDoesNotExist) {
  EXPECT_EQ(threadCount(0xFFF1), 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
