// Which writes are cancelled, and when, and which must not be.
#include "ipc/write_watchdog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "tests/ipc/background_call.h"
#include "tests/ipc/fake_awake_clock.h"
#include "tests/ipc/message_pipe.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

using std::chrono::milliseconds;

// For many looks of a watchdog, where it should not even look.
constexpr milliseconds kSomeLooks{150};

// Longer than what a pipe takes without a reader.
constexpr DWORD kBlockingSize = 100'000;

DWORD writeBlocking(HANDLE pipe) {
  const std::vector<std::uint8_t> bytes(kBlockingSize);
  DWORD written = 0;
  return WriteFile(pipe, bytes.data(), kBlockingSize, &written, nullptr) ? 0 : GetLastError();
}

// As a broadcast's frame: the error of its write. Counts `begun` when its time has begun.
DWORD writeFrame(ipc::WatchedThread& watched, const MessagePipe& pipe, std::atomic<int>& begun) {
  watched.beginFrame(*pipe.server);
  ++begun;
  const DWORD error = writeBlocking(pipe.server->get());
  watched.endFrame();
  return error;
}

DWORD readByte(HANDLE pipe) {
  std::uint8_t byte = 0;
  DWORD received = 0;
  return ReadFile(pipe, &byte, 1, &received, nullptr) ? 0 : GetLastError();
}

// A frame that its thread writes in the background; its time has begun.
struct BackgroundFrame {
  explicit BackgroundFrame(const MessagePipe& pipe)
      : call([this, &pipe] {
          ipc::WatchedThread watched;
          error = writeFrame(watched, pipe, begun);
        }) {
    EXPECT_TRUE(waitUntil([this] { return begun == 1; }));
  }
  bool isCancelled() const { return call.ends() && error == ERROR_OPERATION_ABORTED; }

  std::atomic<int> begun{0};
  std::atomic<DWORD> error{0};
  BackgroundCall call;
};

class WriteWatchdog : public testing::Test {
 protected:
  bool lastsBeyond(const BackgroundCall& call, std::int64_t ms) {
    clock_.set(ms);
    return clock_.isLookedAt() && !call.ends(milliseconds(0));
  }

  FakeAwakeClock clock_;
};

TEST_F(WriteWatchdog, CancelsAFrameWhenTwoSecondsAreOver) {
  const MessagePipe pipe;
  const BackgroundFrame frame(pipe);
  EXPECT_TRUE(lastsBeyond(frame.call, 1999));
  clock_.set(2000);
  EXPECT_TRUE(frame.isCancelled());
}

TEST_F(WriteWatchdog, LooksAtIntervalsOfTenMilliseconds) {
  ImportHook<decltype(SetThreadpoolTimer)> timer("kernel32.dll", "SetThreadpoolTimer");
  std::int64_t firstLook = 0;
  timer.observe([&](PTP_TIMER, FILETIME* due, DWORD, DWORD) {
    if (due == nullptr) return;
    firstLook = static_cast<std::int64_t>(
        ULARGE_INTEGER{{due->dwLowDateTime, due->dwHighDateTime}}.QuadPart);
  });
  {
    const ipc::WatchedThread watched;
  }
  EXPECT_EQ(firstLook, -100'000);  // From then on, in units of 100 ns.
  const auto armed = timer.calls().at(0);
  EXPECT_EQ(std::get<2>(armed), 10U);
  EXPECT_EQ(std::get<3>(armed), 0U);
}

TEST_F(WriteWatchdog, GivesEachFurtherFrame50Milliseconds) {
  const MessagePipe first;
  const MessagePipe second;
  std::atomic<DWORD> firstError{0};
  std::atomic<int> begun{0};
  const BackgroundCall call([&] {
    ipc::WatchedThread watched;
    firstError = writeFrame(watched, first, begun);
    (void)writeFrame(watched, second, begun);
  });
  ASSERT_TRUE(waitUntil([&] { return begun == 1; }));
  clock_.set(2000);
  ASSERT_TRUE(waitUntil([&] { return begun == 2; }));
  EXPECT_EQ(firstError, static_cast<DWORD>(ERROR_OPERATION_ABORTED));
  EXPECT_TRUE(lastsBeyond(call, 2049));
  clock_.set(2050);
  EXPECT_TRUE(call.ends());
}

// Only the time for which the computer is awake counts, however much goes by.
TEST_F(WriteWatchdog, LetsAFrameWaitWhileTheComputerSleeps) {
  MessagePipe pipe;
  const BackgroundFrame frame(pipe);
  EXPECT_FALSE(frame.call.ends(milliseconds(2300)));
  EXPECT_EQ(pipe.client.read().message.size(), kBlockingSize);
  EXPECT_TRUE(frame.call.ends());
  EXPECT_EQ(frame.error, 0U);
}

TEST_F(WriteWatchdog, CancelsFramesOfSeveralThreads) {
  const MessagePipe pipes[3];
  const BackgroundFrame frames[] = {BackgroundFrame(pipes[0]), BackgroundFrame(pipes[1]),
                                    BackgroundFrame(pipes[2])};
  clock_.set(2000);
  for (const BackgroundFrame& frame : frames) EXPECT_TRUE(frame.isCancelled());
}

TEST_F(WriteWatchdog, CancelsAFrameForWhichOneThatIsOutOfPatienceWaits) {
  const MessagePipe pipe;
  ipc::WatchedThread impatient;
  clock_.set(1980);
  const BackgroundFrame frame(pipe);
  impatient.waitFor(*pipe.server);
  EXPECT_TRUE(lastsBeyond(frame.call, 2029)) << "50 ms are its own";
  clock_.set(2030);
  EXPECT_TRUE(frame.isCancelled());
}

TEST_F(WriteWatchdog, LetsAFrameWaitWhenSomebodyIsOutOfPatienceWithAnother) {
  MessagePipe pipe;
  const MessagePipe other;
  ipc::WatchedThread impatient;
  clock_.set(1000);
  const BackgroundFrame frame(pipe);
  impatient.waitFor(*other.server);
  EXPECT_TRUE(lastsBeyond(frame.call, 2999));
  impatient.waitFor(*pipe.server);
  EXPECT_TRUE(frame.isCancelled());
}

// A watched thread that is not in a frame, and one that no longer is watched, may block as long as
// they like.
TEST_F(WriteWatchdog, NeverCancelsAnotherCallOfTheThread) {
  MessagePipe between;
  MessagePipe after;
  std::atomic<DWORD> errorBetween{1};
  std::atomic<DWORD> errorAfter{1};
  const BackgroundCall first([&] {
    ipc::WatchedThread watched;
    watched.beginFrame(*between.server);
    watched.endFrame();
    errorBetween = readByte(between.server->get());
  });
  const BackgroundCall second([&] {
    {
      ipc::WatchedThread watched;
      watched.beginFrame(*after.server);
      watched.endFrame();
    }
    errorAfter = readByte(after.server->get());
  });
  EXPECT_TRUE(lastsBeyond(first, 10'000));
  EXPECT_FALSE(second.ends(milliseconds(0)));
  const std::uint8_t byte[] = {1};
  ASSERT_TRUE(between.client.write(byte).done());
  ASSERT_TRUE(after.client.write(byte).done());
  EXPECT_TRUE(first.ends());
  EXPECT_TRUE(second.ends());
  EXPECT_EQ(errorBetween, 0U);
  EXPECT_EQ(errorAfter, 0U);
}

// The client reads just when the watchdog cancels: whether the write succeeds or not, what the
// thread does next is not cancelled.
TEST_F(WriteWatchdog, NeverCancelsTheCallAfterAFrameThatEndedJustInTime) {
  constexpr std::size_t kThreads = 12;
  std::vector<MessagePipe> writes(kThreads);
  std::vector<MessagePipe> reads(kThreads);
  std::atomic<int> cancelledReads{0};
  std::atomic<int> brokenWrites{0};
  std::atomic<int> begun{0};
  std::vector<BackgroundCall> calls;
  for (std::size_t at = 0; at < kThreads; ++at) {
    calls.emplace_back([&, at] {
      ipc::WatchedThread watched;
      const DWORD error = writeFrame(watched, writes[at], begun);
      if (error != 0 && error != ERROR_OPERATION_ABORTED) ++brokenWrites;
      if (readByte(reads[at].server->get()) != 0) ++cancelledReads;
    });
  }
  ASSERT_TRUE(waitUntil([&] { return begun == static_cast<int>(kThreads); }));
  for (std::size_t at = 0; at < kThreads; ++at) {
    if (at == kThreads / 3) clock_.set(2000);
    // Finds nothing when the write was cancelled.
    (void)writes[at].client.read(milliseconds(100));
  }
  EXPECT_TRUE(clock_.isLookedAt());
  const std::uint8_t byte[] = {1};
  for (MessagePipe& pipe : reads) ASSERT_TRUE(pipe.client.write(byte).done());
  for (const BackgroundCall& call : calls) EXPECT_TRUE(call.ends());
  EXPECT_EQ(cancelledReads, 0);
  EXPECT_EQ(brokenWrites, 0);
}

// Each in a process of its own, whose watchdog has no timer yet.
class WriteWatchdogDeathTest : public WriteWatchdog {
 protected:
  [[noreturn]] static void endWith42If(bool succeeded) { std::exit(succeeded ? 42 : 1); }
};

TEST_F(WriteWatchdogDeathTest, LetsWritesTakeTheirTimeWhenThereIsNoTimer) {
  EXPECT_EXIT(
      {
        ImportHook<decltype(CreateThreadpoolTimer)> create("kernel32.dll", "CreateThreadpoolTimer");
        create.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, nullptr);
        MessagePipe pipe;
        const BackgroundFrame frame(pipe);
        const bool ended = frame.call.ends(kSomeLooks);
        clock_.set(10'000);
        const bool cancelled = ended || frame.call.ends(kSomeLooks);
        const bool read = pipe.client.read().message.size() == kBlockingSize;
        endWith42If(!cancelled && read && frame.call.ends() && frame.error == 0);
      },
      testing::ExitedWithCode(42), "");
}

TEST_F(WriteWatchdogDeathTest, GetsATimerForABroadcastThatIsWaitingAlready) {
  EXPECT_EXIT(
      {
        ImportHook<decltype(CreateThreadpoolTimer)> create("kernel32.dll", "CreateThreadpoolTimer");
        create.failCall(1, ERROR_NOT_ENOUGH_MEMORY, nullptr);
        const MessagePipe pipe;
        const BackgroundFrame frame(pipe);
        const bool ended = frame.call.ends(kSomeLooks);
        clock_.set(10'000);
        const bool cancelled = ended || frame.call.ends(kSomeLooks);
        const ipc::WatchedThread another;
        endWith42If(!cancelled && frame.isCancelled());
      },
      testing::ExitedWithCode(42), "");
}

TEST_F(WriteWatchdogDeathTest, MakesItsTimerOnceWithAThreadOfItsOwn) {
  EXPECT_EXIT(
      {
        ImportHook<decltype(CreateThreadpool)> pool("kernel32.dll", "CreateThreadpool");
        ImportHook<decltype(SetThreadpoolThreadMinimum)> minimum("kernel32.dll",
                                                                 "SetThreadpoolThreadMinimum");
        ImportHook<decltype(CreateThreadpoolTimer)> create("kernel32.dll", "CreateThreadpoolTimer");
        PTP_POOL made = nullptr;
        PTP_POOL used = nullptr;
        pool.replace([&](PVOID reserved) { return made = pool.callOriginal(reserved); });
        create.observe([&](PTP_TIMER_CALLBACK, PVOID, PTP_CALLBACK_ENVIRON environment) {
          if (environment != nullptr) used = environment->Pool;
        });
        ipc::prepareWriteWatchdog();
        ipc::prepareWriteWatchdog();
        {
          const ipc::WatchedThread watched;
        }
        const bool hasThread =
            minimum.callCount() == 1 && std::get<1>(minimum.calls().front()) == 1;
        endWith42If(made != nullptr && used == made && hasThread && pool.callCount() == 1 &&
                    create.callCount() == 1);
      },
      testing::ExitedWithCode(42), "");
}

TEST_F(WriteWatchdogDeathTest, TriesAgainWhateverWasMissing) {
  EXPECT_EXIT(
      {
        ImportHook<decltype(CreateThreadpool)> pool("kernel32.dll", "CreateThreadpool");
        ImportHook<decltype(SetThreadpoolThreadMinimum)> minimum("kernel32.dll",
                                                                 "SetThreadpoolThreadMinimum");
        ImportHook<decltype(CreateThreadpoolTimer)> create("kernel32.dll", "CreateThreadpoolTimer");
        pool.failCall(1, ERROR_NOT_ENOUGH_MEMORY, nullptr);
        minimum.failCall(1, ERROR_NOT_ENOUGH_MEMORY, FALSE);
        create.failCall(1, ERROR_NOT_ENOUGH_MEMORY, nullptr);
        for (int i = 0; i < 6; ++i) const ipc::WatchedThread watched;
        endWith42If(pool.callCount() == 2 && minimum.callCount() == 3 && create.callCount() == 2);
      },
      testing::ExitedWithCode(42), "");
}

}  // namespace
}  // namespace orva_accelerator::test
