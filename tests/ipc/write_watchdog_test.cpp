// Push clients that do not read, and writes that must not be cancelled.
#include "ipc/write_watchdog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/ipc/background_call.h"
#include "tests/ipc/channel_test.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

milliseconds since(Clock::time_point begin) {
  return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
}

// Both ends of a message pipe, the server's as the service has it.
struct PipePair {
  PipePair() {
    const std::wstring name = uniquePipeName(L"watched");
    server.reset(CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX,
                                  PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1, 8192, 8192, 0,
                                  nullptr));
    EXPECT_TRUE(server);
    EXPECT_EQ(client.open(name), 0U);
  }
  win32::UniqueFileHandle server;
  RawPipeClient client;
};

// Longer than what a pipe takes without a reader.
constexpr DWORD kBlockingSize = 100'000;

DWORD writeBlocking(HANDLE pipe) {
  const Bytes bytes(kBlockingSize);
  DWORD written = 0;
  return WriteFile(pipe, bytes.data(), kBlockingSize, &written, nullptr) ? 0 : GetLastError();
}

DWORD readByte(HANDLE pipe) {
  std::uint8_t byte = 0;
  DWORD received = 0;
  return ReadFile(pipe, &byte, 1, &received, nullptr) ? 0 : GetLastError();
}

TEST(WriteWatchdog, CancelsAWriteThatNobodyReads) {
  const PipePair pipe;
  std::atomic<DWORD> error{0};
  const BackgroundCall call([&] {
    ipc::WatchedThread watched;
    watched.beginWrite();
    error = writeBlocking(pipe.server.get());
    watched.endWrite();
  });
  EXPECT_TRUE(call.ends());
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_OPERATION_ABORTED));
}

// The clock by which the watchdog judges writes, in the hands of a test. The test's own thread
// keeps the real one, by which it waits.
class WatchdogClock {
 public:
  WatchdogClock() {
    ticks_.replace([this, state = state_, own = GetCurrentThreadId()]() -> ULONGLONG {
      if (GetCurrentThreadId() == own) return ticks_.callOriginal();
      ++state->looks;
      return state->now;
    });
  }

  void advance(ULONGLONG ms) { state_->now += ms; }

  // The watchdog has looked at the writes with the time as it is now.
  [[nodiscard]] bool isLookedAt() const {
    const std::size_t before = state_->looks;
    return waitUntil([&] { return state_->looks >= before + 2; });
  }

 private:
  struct State {
    std::atomic<ULONGLONG> now{1'000'000};
    std::atomic<std::size_t> looks{0};
  };
  const std::shared_ptr<State> state_ = std::make_shared<State>();
  ImportHook<decltype(GetTickCount64)> ticks_{"kernel32.dll", "GetTickCount64"};
};

// Whatever the load of the machine, the wait for a client that does not read ends with the first
// look after two seconds, and looks are a tenth of a second apart: so nobody waits for three.
TEST(WriteWatchdog, CancelsAWriteWithTheFirstLookAfterTwoSeconds) {
  WatchdogClock clock;
  ImportHook<decltype(SetThreadpoolTimer)> timer("kernel32.dll", "SetThreadpoolTimer");
  std::atomic<std::int64_t> firstLook{0};
  timer.observe([&](PTP_TIMER, FILETIME* due, DWORD, DWORD) {
    if (due == nullptr) return;
    firstLook = static_cast<std::int64_t>(
        ULARGE_INTEGER{{due->dwLowDateTime, due->dwHighDateTime}}.QuadPart);
  });
  const PipePair pipe;
  std::atomic<bool> writing{false};
  std::atomic<DWORD> error{0};
  const BackgroundCall call([&] {
    ipc::WatchedThread watched;
    watched.beginWrite();
    writing = true;
    error = writeBlocking(pipe.server.get());
    watched.endWrite();
  });
  ASSERT_TRUE(waitUntil([&] { return writing.load(); }));
  clock.advance(1999);
  EXPECT_TRUE(clock.isLookedAt());
  EXPECT_FALSE(call.ends(milliseconds(0)));
  clock.advance(1);
  EXPECT_TRUE(call.ends());
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_OPERATION_ABORTED));
  EXPECT_EQ(firstLook, -1'000'000);  // From then on, in units of 100 ns.
  const auto armed = timer.calls().at(0);
  EXPECT_EQ(std::get<2>(armed), 100U);
  EXPECT_EQ(std::get<3>(armed), 0U);
}

TEST(WriteWatchdog, CancelsWritesOfSeveralThreads) {
  const PipePair pipes[3];
  std::atomic<int> cancelled{0};
  std::vector<BackgroundCall> calls;
  for (const PipePair& pipe : pipes) {
    calls.emplace_back([&] {
      ipc::WatchedThread watched;
      watched.beginWrite();
      if (writeBlocking(pipe.server.get()) == ERROR_OPERATION_ABORTED) ++cancelled;
      watched.endWrite();
    });
  }
  for (const BackgroundCall& call : calls) EXPECT_TRUE(call.ends());
  EXPECT_EQ(cancelled, 3);
}

// A watched thread that is not writing, and one that no longer is watched, may block as long as
// they like.
TEST(WriteWatchdog, NeverCancelsAnotherCallOfTheThread) {
  PipePair between;
  PipePair after;
  std::atomic<DWORD> errorBetween{1};
  std::atomic<DWORD> errorAfter{1};
  const BackgroundCall first([&] {
    ipc::WatchedThread watched;
    watched.beginWrite();
    watched.endWrite();
    errorBetween = readByte(between.server.get());
  });
  const BackgroundCall second([&] {
    {
      ipc::WatchedThread watched;
      watched.beginWrite();
      watched.endWrite();
    }
    errorAfter = readByte(after.server.get());
  });
  // Long enough for many looks of the watchdog; keeps the timer armed.
  EXPECT_FALSE(first.ends(milliseconds(5000)));
  EXPECT_FALSE(second.ends(milliseconds(0)));
  ASSERT_TRUE(between.client.write(Bytes{1}).done());
  ASSERT_TRUE(after.client.write(Bytes{1}).done());
  EXPECT_TRUE(first.ends());
  EXPECT_TRUE(second.ends());
  EXPECT_EQ(errorBetween, 0U);
  EXPECT_EQ(errorAfter, 0U);
}

// The client reads just when the watchdog would cancel: whether the write succeeds or not, what
// the thread does next is not cancelled.
TEST(WriteWatchdog, NeverCancelsTheCallAfterAWriteThatEndedJustInTime) {
  constexpr int kThreads = 12;
  std::vector<PipePair> writes(kThreads);
  std::vector<PipePair> reads(kThreads);
  std::atomic<int> cancelledReads{0};
  std::atomic<int> brokenWrites{0};
  std::vector<BackgroundCall> calls;
  for (int i = 0; i < kThreads; ++i) {
    const auto at = static_cast<std::size_t>(i);
    calls.emplace_back([&, at] {
      ipc::WatchedThread watched;
      watched.beginWrite();
      const DWORD error = writeBlocking(writes[at].server.get());
      watched.endWrite();
      if (error != 0 && error != ERROR_OPERATION_ABORTED) ++brokenWrites;
      if (readByte(reads[at].server.get()) != 0) ++cancelledReads;
    });
  }
  std::this_thread::sleep_for(milliseconds(1900));
  for (PipePair& pipe : writes) {
    std::this_thread::sleep_for(milliseconds(25));
    (void)pipe.client.read(milliseconds(100));  // Finds nothing when the write was cancelled.
  }
  std::this_thread::sleep_for(milliseconds(500));
  for (PipePair& pipe : reads) ASSERT_TRUE(pipe.client.write(Bytes{1}).done());
  for (const BackgroundCall& call : calls) EXPECT_TRUE(call.ends());
  EXPECT_EQ(cancelledReads, 0);
  EXPECT_EQ(brokenWrites, 0);
}

// In a process of its own, whose watchdog has no timer yet.
TEST(WriteWatchdogDeathTest, LetsWritesTakeTheirTimeWhenThereIsNoTimer) {
  EXPECT_EXIT(
      {
        ImportHook<decltype(CreateThreadpoolTimer)> create("kernel32.dll", "CreateThreadpoolTimer");
        create.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, nullptr);
        PipePair pipe;
        std::atomic<DWORD> error{1};
        const BackgroundCall call([&] {
          ipc::WatchedThread watched;
          watched.beginWrite();
          error = writeBlocking(pipe.server.get());
          watched.endWrite();
        });
        const bool cancelled = call.ends(milliseconds(3000));
        const bool read = pipe.client.read().message.size() == kBlockingSize;
        const bool succeeded = call.ends() && error == 0;
        std::exit(!cancelled && read && succeeded && create.callCount() == 1 ? 42 : 1);
      },
      testing::ExitedWithCode(42), "");
}

TEST(WriteWatchdogDeathTest, TriesAgainToGetATimer) {
  EXPECT_EXIT(
      {
        ImportHook<decltype(CreateThreadpoolTimer)> create("kernel32.dll", "CreateThreadpoolTimer");
        create.failCall(1, ERROR_NOT_ENOUGH_MEMORY, nullptr);
        {
          ipc::WatchedThread unbounded;
        }
        {
          ipc::WatchedThread bounded;
        }
        {
          ipc::WatchedThread bounded;
        }
        std::exit(create.callCount() == 2 ? 42 : 1);
      },
      testing::ExitedWithCode(42), "");
}

class PushWatchdog : public ChannelTest {
 protected:
  void SetUp() override { start(); }

  bool broadcast(const Bytes& payload) {
    return server_.BroadcastPush(7, 0x1003, payload.data(),
                                 static_cast<std::uint32_t>(payload.size()));
  }
};

TEST_F(PushWatchdog, SleepsUnlessSomebodyIsWrittenTo) {
  ImportHook<decltype(SetThreadpoolTimer)> timer("kernel32.dll", "SetThreadpoolTimer");
  EXPECT_FALSE(broadcast({1}));
  EXPECT_EQ(timer.callCount(), 0U);
  RawPipeClient client = registerPushClient(1);
  EXPECT_EQ(timer.callCount(), 0U);
  EXPECT_TRUE(broadcast({1}));
  const auto calls = timer.calls();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_NE(std::get<1>(calls[0]), nullptr);
  EXPECT_EQ(std::get<1>(calls[1]), nullptr);
  EXPECT_EQ(std::get<2>(calls[1]), 0U);
}

TEST_F(PushWatchdog, DropsAClientThatNeverReadsAndKeepsTheOthersInformed) {
  constexpr std::uint32_t kNotifications = 500;
  RawPipeClient stuck = registerPushClient(1);  // Before the other one in every broadcast.
  RawPipeClient reader = registerPushClient(2);
  std::vector<Clock::time_point> sent(kNotifications);
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
      sent[i] = Clock::now();
      if (!broadcast(joined(u32Bytes({i}), Bytes(60)))) return;
    }
  });
  milliseconds latest{0};
  for (std::uint32_t i = 0; i < kNotifications; ++i) {
    ASSERT_EQ(reader.read().message.size(), 20U) << i;
    const Bytes payload = reader.read().message;
    ASSERT_EQ(payload.size(), 64U) << i;
    ASSERT_EQ(u32At(payload, 0), i);
    latest = std::max(latest, since(sent[i]));
  }
  EXPECT_TRUE(sender.ends());
  // One write in all was waited for in vain: no notification is later than that one wait.
  EXPECT_EQ(cancelled, 1);
  static_assert(ipc::kWriteTimeout <= milliseconds(2000));
  EXPECT_EQ(inspector_.pushPipe(1), nullptr);
  EXPECT_EQ(server_.PushClientCount(), 1U);
  RecordProperty("LatestNotificationMs", std::to_string(latest.count()));
}

// What was written before reaches it whole.
TEST_F(PushWatchdog, LeavesADroppedClientWholeMessages) {
  RawPipeClient stuck = registerPushClient(1);
  while (broadcast(Bytes(64, 0xAB))) {
  }
  EXPECT_EQ(server_.PushClientCount(), 0U);
  std::size_t messages = 0;
  for (PipeOutcome next = stuck.read(); !next.closed(); next = stuck.read()) {
    ASSERT_TRUE(next.done()) << next.error;
    ASSERT_EQ(next.message.size(), messages % 2 == 0 ? 20U : 64U);
    ++messages;
  }
  EXPECT_GT(messages, 10U);
}

TEST_F(PushWatchdog, DoesNotDisturbAClientThatReadsSlowly) {
  RawPipeClient client = registerPushClient(1);
  std::atomic<int> sent{0};
  const BackgroundCall sender([&] {
    for (int i = 0; i < 5 && broadcast(Bytes(50'000, 0xAB)); ++i) ++sent;
  });
  for (int i = 0; i < 5; ++i) {
    EXPECT_FALSE(sender.ends(milliseconds(400)));  // All the writer's patience is 2000.
    EXPECT_EQ(client.read().message.size(), 20U);
    EXPECT_EQ(client.read().message, Bytes(50'000, 0xAB));
  }
  EXPECT_TRUE(sender.ends());
  EXPECT_EQ(sent, 5);
  EXPECT_EQ(server_.PushClientCount(), 1U);
}

}  // namespace
}  // namespace orva_accelerator::test
