// Push clients that do not read, and what they cost the others.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <set>
#include <thread>
#include <vector>

#include "tests/ipc/background_call.h"
#include "tests/ipc/fake_awake_clock.h"
#include "tests/ipc/push_bound_fixture.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

using std::chrono::milliseconds;

TEST_F(PushBound, DropsAClientThatNeverReadsAndKeepsTheOthersInformed) {
  constexpr std::uint32_t kNotifications = 500;
  RawPipeClient stuck = registerPushClient(1);  // Before the other one in every broadcast.
  RawPipeClient reader = registerPushClient(2);
  std::atomic<int> cancelled{0};
  ImportHook<decltype(WriteFile)> writes("kernel32.dll", "WriteFile");
  writes.replace([&](HANDLE pipe, LPCVOID bytes, DWORD length, LPDWORD written,
                     LPOVERLAPPED operation) -> BOOL {
    if (writes.callOriginal(pipe, bytes, length, written, operation)) return TRUE;
    if (GetLastError() == ERROR_OPERATION_ABORTED) ++cancelled;
    return FALSE;
  });
  const BackgroundCall sender([&] {
    for (std::uint32_t i = 0; i < kNotifications; ++i) {
      if (!broadcast(joined(u32Bytes({i}), Bytes(60)))) return;
    }
  });
  for (std::uint32_t i = 0; i < kNotifications; ++i) {
    ASSERT_EQ(reader.read().message.size(), 20U) << i;
    const Bytes payload = reader.read().message;
    ASSERT_EQ(payload.size(), 64U) << i;
    ASSERT_EQ(u32At(payload, 0), i);
  }
  EXPECT_TRUE(sender.ends());
  EXPECT_EQ(cancelled, 1);  // In all.
  EXPECT_EQ(inspector_.pushPipe(1), nullptr);
  EXPECT_EQ(server_.PushClientCount(), 1U);
}

// With the clock in the test's hand: nothing takes its time.
class PushBoundByTheClock : public PushBound {
 protected:
  PushBoundByTheClock() {
    writeFile_.observe([this](HANDLE pipe, LPCVOID, DWORD size, LPDWORD, LPOVERLAPPED) {
      if (size != kFillingSize && pipe == pushPipeOf(1)) ++writes_;
    });
  }

  // Client 1's pipe has been written to so often, or is just being.
  bool writesBecome(int count) {
    return waitUntil([this, count] { return writes_ == count; });
  }
  bool endsAt(const BackgroundCall& call, std::int64_t ms) {
    clock_.set(ms);
    return call.ends();
  }
  bool lastsBeyond(const BackgroundCall& call, std::int64_t ms) {
    clock_.set(ms);
    return clock_.isLookedAt() && !call.ends(milliseconds(0));
  }

  FakeAwakeClock clock_;
  std::atomic<int> writes_{0};
  ImportHook<decltype(WriteFile)> writeFile_{"kernel32.dll", "WriteFile"};
};

// Its header late, and then its payload.
TEST_F(PushBoundByTheClock, HoldsForAFrameAsAWhole) {
  RawPipeClient client = registerFullClient(1);
  std::atomic<bool> reached{true};
  const BackgroundCall call([&] { reached = broadcast(Bytes(MessagePipe::kBuffer + 1)); });
  ASSERT_TRUE(writesBecome(1));
  clock_.set(1500);
  drainPipe(client);
  EXPECT_EQ(client.read().message.size(), 20U);
  ASSERT_TRUE(writesBecome(2));
  EXPECT_TRUE(lastsBeyond(call, 1999));
  EXPECT_TRUE(endsAt(call, 2000));
  EXPECT_FALSE(reached);
  EXPECT_EQ(server_.PushClientCount(), 0U);
  EXPECT_TRUE(client.endsSilently());
}

TEST_F(PushBoundByTheClock, EndsTheWaitingOfAllOnAPipeThatFailsForOne) {
  const RawPipeClient client = registerFullClient(1);
  const BackgroundCall first([this] { (void)broadcast({1}); });
  ASSERT_TRUE(writesBecome(1));
  clock_.set(1000);
  std::vector<BackgroundCall> later;
  for (int i = 0; i < 5; ++i) later.emplace_back([this] { (void)broadcast({1}); });
  EXPECT_TRUE(lastsBeyond(later.back(), 1000));
  EXPECT_TRUE(lastsBeyond(first, 1999));
  clock_.set(2000);
  EXPECT_TRUE(first.ends());
  for (const BackgroundCall& call : later) EXPECT_TRUE(call.ends()) << "its time is not over";
  EXPECT_EQ(writes_, 1);
}

TEST_F(PushBoundByTheClock, LeavesADroppedClientWholeMessages) {
  RawPipeClient stuck = registerPushClient(1);
  const BackgroundCall sender([this] {
    while (broadcast(Bytes(64, 0xAB))) {
    }
  });
  // By turns, because nobody knows when the pipe is full.
  std::int64_t now = 0;
  ASSERT_TRUE(waitUntil([&] {
    clock_.set(now += 2000);
    return sender.ends(milliseconds(50));
  }));
  std::size_t messages = 0;
  for (PipeOutcome next = stuck.read(); !next.closed(); next = stuck.read()) {
    ASSERT_TRUE(next.done()) << next.error;
    ASSERT_EQ(next.message.size(), messages % 2 == 0 ? 20U : 64U);
    ++messages;
  }
  EXPECT_GT(messages, 10U);
}

TEST_F(PushBoundByTheClock, DoesNotDisturbAClientThatReadsSlowly) {
  RawPipeClient client = registerPushClient(1);
  std::atomic<int> sent{0};
  const BackgroundCall sender([&] {
    for (int i = 0; i < 5 && broadcast(Bytes(50'000, 0xAB)); ++i) ++sent;
  });
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(writesBecome(2 * (i + 1)));
    EXPECT_TRUE(lastsBeyond(sender, 1500 * (i + 1)));  // Has waited for 1500 since the one before.
    EXPECT_EQ(client.read().message.size(), 20U);
    EXPECT_EQ(client.read().message, Bytes(50'000, 0xAB));
  }
  EXPECT_TRUE(sender.ends());
  EXPECT_EQ(sent, 5);
  EXPECT_EQ(server_.PushClientCount(), 1U);
}

TEST_F(PushBound, CostsNothingUnlessSomebodyIsWrittenTo) {
  ImportHook<decltype(SetThreadpoolTimer)> timer("kernel32.dll", "SetThreadpoolTimer");
  EXPECT_FALSE(broadcast({1}));
  RawPipeClient client = registerPushClient(1);
  EXPECT_EQ(timer.callCount(), 0U);
  EXPECT_TRUE(broadcast({1}));
  const auto calls = timer.calls();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_NE(std::get<1>(calls[0]), nullptr);
  EXPECT_EQ(std::get<1>(calls[1]), nullptr);
  EXPECT_EQ(std::get<2>(calls[1]), 0U);
}

using PushBoundDeathTest = PushBoundByTheClock;

// What the watchdog needs was made when the client registered.
TEST_F(PushBoundDeathTest, HoldsThoughTheSystemHasNothingLeftAtTheFirstBroadcast) {
  EXPECT_EXIT(
      {
        const RawPipeClient client = registerFullClient(1);
        ImportHook<decltype(CreateThreadpool)> pool("kernel32.dll", "CreateThreadpool");
        ImportHook<decltype(CreateThreadpoolTimer)> timer("kernel32.dll", "CreateThreadpoolTimer");
        pool.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, nullptr);
        timer.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, nullptr);
        const BackgroundCall call([this] { (void)broadcast({1}); });
        std::exit(writesBecome(1) && lastsBeyond(call, 1999) && endsAt(call, 2000) ? 42 : 1);
      },
      testing::ExitedWithCode(42), "");
}

}  // namespace
}  // namespace orva_accelerator::test
