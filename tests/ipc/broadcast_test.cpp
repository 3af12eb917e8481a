// What a broadcast writes, to whom, and what becomes of those that it cannot reach.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

#include "tests/ipc/background_call.h"
#include "tests/ipc/channel_test.h"
#include "tests/ipc/pipe_call_log.h"

namespace orva_accelerator::test {
namespace {

constexpr std::uint32_t kType = 0x1003;

// The header of a notification for client 7, up to its time stamp.
Bytes frameStart(std::uint32_t payloadLength) {
  return joined(Bytes{'P', 'K', 'X', 'R'}, u32Bytes({7, kType, payloadLength}));
}

std::uint32_t systemTicks() {
  constexpr std::uint64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  const std::uint64_t since1601 =
      static_cast<std::uint64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
  return static_cast<std::uint32_t>(since1601 - kTicksFrom1601To1970);
}

// The same from the C++ library, as fine as it has it.
std::uint32_t fineTicks() {
  const auto time = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::nanoseconds(time).count() / 100);
}

class Broadcast : public ChannelTest {
 protected:
  // Reads a header and returns its time stamp.
  static std::uint32_t expectHeader(RawPipeClient& client, std::uint32_t payloadLength) {
    const Bytes header = client.read().message;
    EXPECT_EQ(header.size(), 20U);
    if (header.size() != 20) return 0;
    EXPECT_EQ(Bytes(header.begin(), header.begin() + 16), frameStart(payloadLength));
    return u32At(header, 16);
  }

  bool broadcast(const Bytes& payload) {
    return server_.BroadcastPush(7, kType, payload.data(),
                                 static_cast<std::uint32_t>(payload.size()));
  }

  // The next write to `pipe` stops before it begins, until `release` is set.
  struct HeldWrite {
    std::atomic<HANDLE> pipe{nullptr};
    std::atomic<bool> reached{false};
    std::atomic<bool> released{false};
  };
  static void holdWrites(PipeCallLog& log, HeldWrite& held) {
    log.writeFile.replace([&log, &held](HANDLE pipe, LPCVOID bytes, DWORD size, LPDWORD written,
                                        LPOVERLAPPED overlapped) {
      if (pipe == held.pipe && !held.reached.exchange(true)) {
        EXPECT_TRUE(waitUntil([&held] { return held.released.load(); }));
      }
      return log.writeFile.callOriginal(pipe, bytes, size, written, overlapped);
    });
  }
};

TEST_F(Broadcast, WritesNothingWithoutClients) {
  PipeCallLog log;
  start();
  EXPECT_FALSE(broadcast({1, 2, 3}));
  EXPECT_EQ(log.writeFile.callCount(), 0U);
}

TEST_F(Broadcast, SendsGoldenBytes) {
  start();
  RawPipeClient client = registerPushClient(1);
  for (const GoldenVector& golden : goldenVectors("notifications.json")) {
    SCOPED_TRACE(golden.name);
    const Bytes payload(golden.payload().begin(), golden.payload().end());
    ASSERT_TRUE(server_.BroadcastPush(golden.number<std::uint32_t>("clientId"), golden.type,
                                      payload.data(), static_cast<std::uint32_t>(payload.size())));
    const Bytes header = client.read().message;
    EXPECT_EQ(header.size(), 20U);
    EXPECT_TRUE(isMessage(golden, joined(header, client.read().message)));
  }
}

TEST_F(Broadcast, SendsHeaderAndPayloadAsTwoMessages) {
  start();
  RawPipeClient client = registerPushClient(1);
  ASSERT_TRUE(broadcast({1, 2, 3}));
  (void)expectHeader(client, 3);
  EXPECT_EQ(client.read().message, (Bytes{1, 2, 3}));
}

TEST_F(Broadcast, SendsAPayloadThatThePipeCannotHoldAsOneMessage) {
  start();
  RawPipeClient client = registerPushClient(1);
  const BackgroundCall call([this] { EXPECT_TRUE(broadcast(patternBytes(20'000))); });
  (void)expectHeader(client, 20'000);
  EXPECT_TRUE(client.read().message == patternBytes(20'000));
  EXPECT_TRUE(call.ends());
}

TEST_F(Broadcast, SendsTheHeaderAloneForANullPayloadButCarriesItsLength) {
  start();
  RawPipeClient client = registerPushClient(1);
  EXPECT_TRUE(server_.BroadcastPush(7, kType, nullptr, 45));
  EXPECT_TRUE(server_.BroadcastPush(7, kType, nullptr, 0));
  (void)expectHeader(client, 45);
  (void)expectHeader(client, 0);
}

TEST_F(Broadcast, SendsTheHeaderAloneForAPayloadOfLengthZero) {
  start();
  RawPipeClient client = registerPushClient(1);
  const std::uint8_t unused = 1;
  EXPECT_TRUE(server_.BroadcastPush(7, kType, &unused, 0));
  EXPECT_TRUE(server_.BroadcastPush(7, kType, &unused, 1));
  (void)expectHeader(client, 0);
  (void)expectHeader(client, 1);
  EXPECT_EQ(client.read().message, (Bytes{1}));
}

TEST_F(Broadcast, CarriesTheTimeInTicksSince1970) {
  start();
  RawPipeClient client = registerPushClient(1);
  constexpr std::uint32_t kSecond = 10'000'000;  // Clocks of the system differ in resolution.
  const std::uint32_t before = systemTicks() - kSecond;
  ASSERT_TRUE(broadcast({}));
  const std::uint32_t after = systemTicks() + kSecond;
  EXPECT_LE(expectHeader(client, 0) - before, after - before);
}

TEST_F(Broadcast, CarriesTheTimeAsFineAsItIs) {
  start();
  RawPipeClient client = registerPushClient(1);
  for (int i = 0; i < 20; ++i) {
    const std::uint32_t before = fineTicks();
    ASSERT_TRUE(broadcast({}));
    const std::uint32_t after = fineTicks();
    EXPECT_LE(expectHeader(client, 0) - before, after - before);
  }
}

TEST_F(Broadcast, TakesItsTimeBeforeItWaitsForTheTable) {
  start();
  RawPipeClient client = registerPushClient(1);
  std::atomic<DWORD> broadcaster{0};
  std::atomic<bool> waits{false};
  ImportHook<decltype(WaitForSingleObject)> wait("kernel32.dll", "WaitForSingleObject");
  wait.observe([&](HANDLE, DWORD) {  // By which a mutex is waited for.
    if (GetCurrentThreadId() == broadcaster) waits = true;
  });
  std::unique_lock table(inspector_.pushClientsMutex());
  const std::uint32_t before = fineTicks();
  const BackgroundCall call([&] {
    broadcaster = GetCurrentThreadId();
    (void)broadcast({});
  });
  EXPECT_TRUE(waitUntil([&] { return waits.load(); }));
  const std::uint32_t waiting = fineTicks();
  EXPECT_TRUE(waitUntil([&] { return fineTicks() != waiting; }));
  table.unlock();
  ASSERT_TRUE(call.ends());
  EXPECT_LE(expectHeader(client, 0) - before, waiting - before);
}

TEST_F(Broadcast, CarriesTheSameTimeToAllClients) {
  PipeCallLog log;
  log.writeFile.observe([](auto&&...) { Sleep(5); });
  start();
  std::vector<RawPipeClient> clients;
  for (std::uint32_t id = 1; id <= 4; ++id) clients.push_back(registerPushClient(id));
  ASSERT_TRUE(broadcast({1}));
  const std::uint32_t time = expectHeader(clients.front(), 1);
  for (std::size_t i = 1; i < clients.size(); ++i) EXPECT_EQ(expectHeader(clients[i], 1), time);
}

TEST_F(Broadcast, ReachesClientsInAscendingOrderOfTheirIds) {
  PipeCallLog log;
  std::vector<HANDLE> headerWrites;  // Written by this thread alone: clients are done by then.
  start();
  const RawPipeClient high = registerPushClient(0x80000000);
  const RawPipeClient low = registerPushClient(3);
  const RawPipeClient middle = registerPushClient(0x100);
  log.writeFile.observe([&headerWrites](HANDLE pipe, LPCVOID, DWORD size, LPDWORD, LPOVERLAPPED) {
    if (size == 20) headerWrites.push_back(pipe);
  });
  ASSERT_TRUE(broadcast({1}));
  EXPECT_EQ(headerWrites,
            (std::vector<HANDLE>{pushPipeOf(3), pushPipeOf(0x100), pushPipeOf(0x80000000)}));
}

TEST_F(Broadcast, CostsTwoWritesAClientOrOneWithoutPayload) {
  PipeCallLog log;
  start();
  RawPipeClient client = registerPushClient(1);
  const HANDLE pipe = pushPipeOf(1);
  ASSERT_TRUE(broadcast({1, 2, 3}));
  ASSERT_TRUE(broadcast({}));
  ASSERT_TRUE(server_.BroadcastPush(7, kType, nullptr, 9));
  server_.UnregisterPushClient(1);
  EXPECT_TRUE(log.becomes(pipe, {"ConnectNamedPipe", "ReadFile 4", "WriteFile 20", "WriteFile 3",
                                 "WriteFile 20", "WriteFile 20", "CloseHandle"}))
      << testing::PrintToString(log.of(pipe));
}

TEST_F(Broadcast, ArrivesBeforeThePipeOfAnUnregisteredClientBreaks) {
  start();
  RawPipeClient client = registerPushClient(1);
  ASSERT_TRUE(broadcast({1, 2, 3}));
  server_.UnregisterPushClient(1);
  (void)expectHeader(client, 3);
  EXPECT_EQ(client.read().message, (Bytes{1, 2, 3}));
  EXPECT_TRUE(client.endsSilently());
}

TEST_F(Broadcast, DropsAClientThatIsGoneAndReachesTheOthers) {
  start();
  RawPipeClient one = registerPushClient(1);
  RawPipeClient two = registerPushClient(2);
  RawPipeClient three = registerPushClient(3);
  two.close();
  EXPECT_TRUE(broadcast({1}));
  EXPECT_EQ(server_.PushClientCount(), 2U);
  EXPECT_EQ(inspector_.pushPipe(2), nullptr);
  (void)expectHeader(one, 1);
  (void)expectHeader(three, 1);
}

TEST_F(Broadcast, PassesOverEntriesThatAreNotConnectedOrHaveNoPipe) {
  start();
  RawPipeClient silent = registerPushClient(1);
  ipc::PushClient entry = inspector_.pushClients().at(1);
  entry.connected = false;
  inspector_.putPushClient(1, entry);
  ipc::PushClient pipeless;
  pipeless.id = 2;
  pipeless.connected = true;
  inspector_.putPushClient(2, pipeless);
  EXPECT_FALSE(broadcast({1}));
  EXPECT_EQ(server_.PushClientCount(), 2U);
  RawPipeClient client = registerPushClient(3);
  EXPECT_TRUE(broadcast({1}));
  (void)expectHeader(client, 1);
  EXPECT_TRUE(silent.staysSilent(std::chrono::milliseconds(50)));
  server_.UnregisterPushClient(2);
  EXPECT_EQ(server_.PushClientCount(), 2U);
}

TEST_F(Broadcast, ReachesClientsThatAreStillRegisteredAfterAStop) {
  start();
  RawPipeClient client = registerPushClient(1);
  inspector_.setRunning(false);
  EXPECT_TRUE(broadcast({1}));
  (void)expectHeader(client, 1);
}

TEST_F(Broadcast, DropsBothEntriesIfTwoEverShareAPipe) {
  start();
  RawPipeClient client = registerPushClient(1);
  ipc::PushClient second = inspector_.pushClients().at(1);
  second.id = 9;
  inspector_.putPushClient(9, second);
  client.close();
  EXPECT_FALSE(broadcast({1}));
  EXPECT_EQ(server_.PushClientCount(), 0U);
}

struct FailedWrite {
  DWORD size;     // Which write fails: of the header or of the payload.
  BOOL succeeds;  // Whether the call claims success
  DWORD shortBy;  // although so many bytes are missing.
};

class FailingBroadcastWrite : public Broadcast, public testing::WithParamInterface<FailedWrite> {
 protected:
  void SetUp() override {
    start();
    unlucky_ = registerPushClient(1);
    pipe_ = pushPipeOf(1);
    log_.writeFile.replace([this](HANDLE target, LPCVOID bytes, DWORD size, LPDWORD written,
                                  LPOVERLAPPED overlapped) -> BOOL {
      if (target == luckyPipe_) {
        EXPECT_EQ(server_.PushClientCount(), 2U) << "dropped too early";
      }
      if (target != pipe_ || size != GetParam().size) {
        return log_.writeFile.callOriginal(target, bytes, size, written, overlapped);
      }
      *written = size - GetParam().shortBy;
      SetLastError(ERROR_WRITE_FAULT);
      return GetParam().succeeds;
    });
  }

  PipeCallLog log_;
  RawPipeClient unlucky_;
  HANDLE pipe_ = nullptr;
  HANDLE luckyPipe_ = nullptr;
};

TEST_P(FailingBroadcastWrite, DropsTheClientAndClosesItsPipe) {
  RawPipeClient lucky = registerPushClient(2);
  luckyPipe_ = pushPipeOf(2);
  EXPECT_TRUE(broadcast({1, 2, 3}));
  EXPECT_EQ(server_.PushClientCount(), 1U);
  PipeCallLog::Lines expected = {"ConnectNamedPipe", "ReadFile 4", "WriteFile 20"};
  if (GetParam().size == 3) expected.emplace_back("WriteFile 3");  // None after a failed header.
  expected.emplace_back("CloseHandle");
  EXPECT_TRUE(log_.becomes(pipe_, expected)) << testing::PrintToString(log_.of(pipe_));
  (void)expectHeader(lucky, 3);
  EXPECT_EQ(lucky.read().message, (Bytes{1, 2, 3}));
}

// The header alone, or an entry that remains, is nobody.
TEST_P(FailingBroadcastWrite, IsFalseWhenItReachesNobodyWhole) {
  ipc::PushClient silent;
  silent.pipe = std::make_shared<ipc::PushPipe>(win32::UniqueFileHandle());
  inspector_.putPushClient(2, silent);
  EXPECT_FALSE(broadcast({1, 2, 3}));
  EXPECT_EQ(server_.PushClientCount(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Writes, FailingBroadcastWrite,
                         testing::Values(FailedWrite{20, FALSE, 20}, FailedWrite{20, FALSE, 0},
                                         FailedWrite{20, TRUE, 1}, FailedWrite{3, FALSE, 3},
                                         FailedWrite{3, TRUE, 1}, FailedWrite{3, TRUE, 3}));

TEST_F(Broadcast, KeepsAPipeOpenWhileItIsWrittenTo) {
  PipeCallLog log;
  HeldWrite held;
  holdWrites(log, held);
  start();
  RawPipeClient client = registerPushClient(1);
  const HANDLE pipe = pushPipeOf(1);
  held.pipe = pipe;
  const BackgroundCall call([this] { (void)broadcast({1, 2, 3}); });
  ASSERT_TRUE(waitUntil([&] { return held.reached.load(); }));
  server_.UnregisterPushClient(1);
  EXPECT_EQ(server_.PushClientCount(), 0U);
  EXPECT_EQ(log.count(pipe, "CloseHandle"), 0U);
  held.released = true;
  EXPECT_TRUE(call.ends());
  EXPECT_EQ(log.count(pipe, "CloseHandle"), 1U);
  (void)expectHeader(client, 3);
  EXPECT_EQ(client.read().message, (Bytes{1, 2, 3}));
  EXPECT_TRUE(client.endsSilently());
}

// The system may give the handle of a closed pipe to the next one.
TEST_F(Broadcast, NeverReachesAPipeThatTookTheHandleOfAClosedOne) {
  PipeCallLog log;
  HeldWrite held;
  holdWrites(log, held);
  start();
  RawPipeClient first = registerPushClient(1);
  RawPipeClient leaving = registerPushClient(2);
  const HANDLE reused = pushPipeOf(2);
  held.pipe = pushPipeOf(1);
  const BackgroundCall call([this] { (void)broadcast({1, 2, 3}); });
  ASSERT_TRUE(waitUntil([&] { return held.reached.load(); }));
  server_.UnregisterPushClient(2);
  EXPECT_TRUE(leaving.endsSilently());
  const std::size_t writesBefore = log.count(reused, "WriteFile 20");
  std::vector<RawPipeClient> newcomers;
  for (std::uint32_t id = 10; id < 20; ++id) newcomers.push_back(registerPushClient(id));
  held.released = true;
  EXPECT_TRUE(call.ends());
  EXPECT_EQ(log.count(reused, "WriteFile 20"), writesBefore);
  // What comes first is the marker of a later broadcast.
  EXPECT_TRUE(server_.BroadcastPush(7, kType, nullptr, 4711));
  for (RawPipeClient& newcomer : newcomers) (void)expectHeader(newcomer, 4711);
  (void)expectHeader(first, 3);
}

TEST_F(Broadcast, DoesNotKeepAPipeOpenThatIsReplacedBeforeItsTurn) {
  PipeCallLog log;
  HeldWrite held;
  holdWrites(log, held);
  start();
  RawPipeClient first = registerPushClient(1);
  RawPipeClient replaced = registerPushClient(2);
  held.pipe = pushPipeOf(1);
  const BackgroundCall call([this] { (void)broadcast({1, 2, 3}); });
  ASSERT_TRUE(waitUntil([&] { return held.reached.load(); }));
  RawPipeClient replacing = registerPushClient(2);
  EXPECT_TRUE(replaced.endsSilently());
  held.released = true;
  EXPECT_TRUE(call.ends());
  EXPECT_EQ(server_.PushClientCount(), 2U);
  EXPECT_TRUE(server_.BroadcastPush(7, kType, nullptr, 4711));
  (void)expectHeader(replacing, 4711);
}

TEST_F(Broadcast, IsNotHeldUpByTheTablesMutexWhileItWrites) {
  PipeCallLog log;
  HeldWrite held;
  holdWrites(log, held);
  start();
  RawPipeClient client = registerPushClient(1);
  held.pipe = pushPipeOf(1);
  const BackgroundCall call([this] { (void)broadcast({1}); });
  ASSERT_TRUE(waitUntil([&] { return held.reached.load(); }));
  const BackgroundCall other([this] {
    server_.TouchPushClient(1);
    (void)server_.PushClientCount();
  });
  EXPECT_TRUE(other.ends());
  held.released = true;
  EXPECT_TRUE(call.ends());
}

TEST_F(Broadcast, MayRunOnSeveralThreadsWhileClientsComeAndGo) {
  start();
  std::atomic<bool> over{false};
  std::vector<BackgroundCall> calls;
  for (int i = 0; i < 3; ++i) {
    calls.emplace_back([&] {
      while (!over) (void)broadcast({1, 2, 3});
    });
  }
  for (int round = 0; round < 30; ++round) {
    RawPipeClient one = registerPushClient(1);
    RawPipeClient two = registerPushClient(2);
    EXPECT_FALSE(one.read().message.empty());
    if (round % 2 == 0) server_.UnregisterPushClient(2);
    two.close();
  }
  over = true;
  for (const BackgroundCall& call : calls) EXPECT_TRUE(call.ends(4 * kPatience));
}

}  // namespace
}  // namespace orva_accelerator::test
