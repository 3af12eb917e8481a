// How push clients enter the table, and how they leave it.
#include <gtest/gtest.h>

#include <process.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ipc/monotonic_clock.h"
#include "tests/ipc/background_call.h"
#include "tests/ipc/channel_test.h"
#include "tests/ipc/pipe_call_log.h"
#include "tests/support/handle_count.h"

namespace orva_accelerator::test {
namespace {

class PushRegistration : public ChannelTest {
 protected:
  void SetUp() override { start(); }

  RawPipeClient openPush() const {
    RawPipeClient client;
    EXPECT_EQ(client.open(pushName_), 0U);
    return client;
  }

  std::vector<std::uint32_t> ids() const {
    std::vector<std::uint32_t> all;
    for (const auto& [id, client] : inspector_.pushClients()) all.push_back(id);
    return all;
  }
};

TEST_F(PushRegistration, FillsAnEntryOfTheTable) {
  const std::int64_t before = ipc::monotonicMs();
  const RawPipeClient client = registerPushClient(0xA1B2C3D4);
  const auto table = inspector_.pushClients();
  ASSERT_EQ(table.size(), 1U);
  const ipc::PushClient& entry = table.at(0xA1B2C3D4);
  EXPECT_EQ(entry.id, 0xA1B2C3D4U);
  EXPECT_NE(entry.pipe->get(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(entry.name, L"");
  EXPECT_TRUE(entry.connected);
  EXPECT_GE(entry.lastHeartbeatMs, before);
  EXPECT_LE(entry.lastHeartbeatMs, ipc::monotonicMs());
}

TEST_F(PushRegistration, TakesItsGoldenBytes) {
  const GoldenVector& golden = goldenVector("headers.json", "registration");
  RawPipeClient client = openPush();
  ASSERT_TRUE(client.write(golden.bytes).done());
  ASSERT_TRUE(pushClientCountBecomes(1));
  EXPECT_EQ(ids().front(), golden.number<std::uint32_t>("clientId"));
}

TEST_F(PushRegistration, TakesAnyId) {
  const RawPipeClient largest = registerPushClient(0xFFFFFFFF);
  const RawPipeClient zero = registerPushClient(0);
  EXPECT_EQ(ids(), (std::vector<std::uint32_t>{0, 0xFFFFFFFF}));
}

TEST_F(PushRegistration, IsNotAnswered) {
  RawPipeClient client = registerPushClient(1);
  EXPECT_TRUE(client.staysSilent(std::chrono::milliseconds(100)));
}

class BadPushRegistration : public PushRegistration,
                            public testing::WithParamInterface<std::size_t> {};

TEST_P(BadPushRegistration, ClosesTheConnectionAndEntersNothing) {
  RawPipeClient client = openPush();
  // A message that the pipe cannot hold may meet the closing before it is through.
  EXPECT_FALSE(client.write(Bytes(GetParam(), 1)).timedOut());
  EXPECT_TRUE(client.endsSilently());
  EXPECT_EQ(server_.PushClientCount(), 0U);
  const RawPipeClient next = registerPushClient(5);
  EXPECT_EQ(ids(), (std::vector<std::uint32_t>{5}));
}

INSTANTIATE_TEST_SUITE_P(Bytes, BadPushRegistration, testing::Values(0, 1, 2, 3, 5, 8, 24, 20'000));

// Whose threads the test can ask how they ended.
class EndedPushThread : public PushRegistration {
 protected:
  EndedPushThread() {
    begins_.replace([this](auto... arguments) -> std::uintptr_t {
      const std::uintptr_t thread = begins_.callOriginal(arguments...);
      HANDLE kept = nullptr;
      const HANDLE own = GetCurrentProcess();
      EXPECT_TRUE(DuplicateHandle(own, reinterpret_cast<HANDLE>(thread), own, &kept, 0, FALSE,
                                  DUPLICATE_SAME_ACCESS));
      const std::lock_guard lock(mutex_);
      threads_.emplace_back(kept);
      return thread;
    });
  }

  // Two loops, the supervisor and the thread of the one client.
  bool theClientHasItsThread() {
    return waitUntil([this] {
      const std::lock_guard lock(mutex_);
      return threads_.size() == 4;
    });
  }

  // With what it has ended.
  DWORD endOfTheClientsThread() {
    EXPECT_TRUE(theClientHasItsThread());
    const std::lock_guard lock(mutex_);
    const HANDLE thread = threads_.back().get();
    DWORD code = STILL_ACTIVE;
    EXPECT_TRUE(
        waitUntil([&] { return GetExitCodeThread(thread, &code) && code != STILL_ACTIVE; }));
    return code;
  }

 private:
  std::mutex mutex_;
  std::vector<win32::UniqueKernelHandle> threads_;
  ImportHook<decltype(_beginthreadex)> begins_{kThreadRuntime, "_beginthreadex"};
};

TEST_F(EndedPushThread, TellsTheErrorOfAnIdThatIsTooLong) {
  RawPipeClient client = openPush();
  ASSERT_TRUE(client.write(Bytes(5, 1)).done());
  EXPECT_EQ(endOfTheClientsThread(), DWORD{ERROR_MORE_DATA});
}

TEST_F(EndedPushThread, TellsTheErrorOfAClientThatLeavesWithoutAnId) {
  RawPipeClient client = openPush();
  // One that leaves before it is accepted has no thread.
  ASSERT_TRUE(theClientHasItsThread());
  client.close();
  EXPECT_EQ(endOfTheClientsThread(), DWORD{ERROR_BROKEN_PIPE});
}

TEST_F(EndedPushThread, TellsNoErrorOfARegisteredClientAfterAStop) {
  const RawPipeClient client = registerPushClient(1);
  server_.stop();
  EXPECT_EQ(endOfTheClientsThread(), 0U);
}

// With the log of its calls, which is made before the server is started.
class LoggedPushRegistration : public PushRegistration {
 protected:
  void SetUp() override {
    start();
    ASSERT_TRUE(waitUntil([this] { return log_.listeners().size() == 2; }));
  }

  PipeCallLog log_;
};

TEST_F(LoggedPushRegistration, OfAClientThatClosesItsEndInsteadEntersNothing) {
  const RawPipeClient marker = registerPushClient(1);
  // Only the push pipe has had a client, so the third to wait is its next instance.
  ASSERT_TRUE(waitUntil([this] { return log_.listeners().size() == 3; }));
  const HANDLE pipe = log_.listeners()[2];
  RawPipeClient client = openPush();
  client.close();
  // A client that has gone before the wait for it begins is not even read from.
  const PipeCallLog::Lines read = {"ConnectNamedPipe", "ReadFile 4", "CloseHandle"};
  const PipeCallLog::Lines missed = {"ConnectNamedPipe", "CloseHandle"};
  EXPECT_TRUE(waitUntil([&] { return log_.of(pipe) == read || log_.of(pipe) == missed; }))
      << testing::PrintToString(log_.of(pipe));
  EXPECT_EQ(ids(), (std::vector<std::uint32_t>{1}));
}

TEST_F(PushRegistration, LeaksNoHandleWhenItIsBad) {
  const auto failOnce = [this](std::size_t size) {
    RawPipeClient client = openPush();
    EXPECT_TRUE(client.write(Bytes(size, 1)).done());
    EXPECT_TRUE(client.endsSilently());
  };
  failOnce(5);
  failOnce(3);
  const auto before = handleCount();
  ASSERT_TRUE(before);
  for (int i = 0; i < 25; ++i) {
    failOnce(5);
    failOnce(3);
  }
  // Threads that are just ending still hold one.
  EXPECT_TRUE(waitUntil([&] { return *handleCount() < *before + 10; }))
      << *handleCount() << " handles, and " << *before << " before";
}

TEST_F(PushRegistration, ReplacesAnEarlierPipeOfTheSameId) {
  RawPipeClient first = registerPushClient(7);
  EXPECT_TRUE(server_.BroadcastPush(1, 2, nullptr, 0));
  RawPipeClient second = registerPushClient(7);
  EXPECT_EQ(first.read().message.size(), 20U);  // What has been sent still arrives.
  EXPECT_TRUE(first.endsSilently());
  EXPECT_EQ(server_.PushClientCount(), 1U);
  EXPECT_TRUE(server_.BroadcastPush(1, 2, nullptr, 0));
  EXPECT_EQ(second.read().message.size(), 20U);
}

TEST_F(PushRegistration, KeepsThePipeWhenTheSamePipeIsRegisteredAgain) {
  RawPipeClient client = registerPushClient(7);
  ipc::PushClient aged = inspector_.pushClients().at(7);
  aged.lastHeartbeatMs -= 1'000'000;
  inspector_.putPushClient(7, aged);
  EXPECT_TRUE(server_.RegisterPushClient(7, inspector_.pushPipe(7)));
  EXPECT_GT(inspector_.pushClients().at(7).lastHeartbeatMs, aged.lastHeartbeatMs + 500'000);
  EXPECT_TRUE(server_.BroadcastPush(1, 2, nullptr, 0));
  EXPECT_EQ(client.read().message.size(), 20U);
}

// Nothing is read from a client that is registered.
TEST_F(PushRegistration, IsNotChangedByASecondMessageOfTheClient) {
  RawPipeClient client = registerPushClient(7);
  const ipc::PushClient before = inspector_.pushClients().at(7);
  ASSERT_TRUE(client.write(u32Bytes({8})).done());
  const RawPipeClient later = registerPushClient(9);
  EXPECT_EQ(ids(), (std::vector<std::uint32_t>{7, 9}));
  const ipc::PushClient now = inspector_.pushClients().at(7);
  EXPECT_EQ(now.pipe, before.pipe);
  EXPECT_EQ(now.lastHeartbeatMs, before.lastHeartbeatMs);
  DWORD unread = 0;
  EXPECT_TRUE(PeekNamedPipe(now.pipe->get(), nullptr, 0, nullptr, &unread, nullptr));
  EXPECT_EQ(unread, 4U);
  EXPECT_TRUE(server_.BroadcastPush(1, 2, nullptr, 0));
  EXPECT_EQ(client.read().message.size(), 20U);
}

TEST_F(PushRegistration, SetsAllFieldsAgainWhenTheIdIsReplaced) {
  RawPipeClient first = registerPushClient(7);
  ipc::PushClient old = inspector_.pushClients().at(7);
  old.connected = false;
  old.name = L"old";
  old.lastHeartbeatMs -= 1'000'000;
  inspector_.putPushClient(7, old);
  RawPipeClient second = registerPushClient(7);
  const ipc::PushClient now = inspector_.pushClients().at(7);
  EXPECT_TRUE(now.connected);
  EXPECT_EQ(now.name, L"");
  EXPECT_GT(now.lastHeartbeatMs, old.lastHeartbeatMs + 500'000);
}

TEST_F(PushRegistration, EndsWhenTheClientIsUnregistered) {
  RawPipeClient one = registerPushClient(1);
  RawPipeClient two = registerPushClient(2);
  server_.UnregisterPushClient(1);
  EXPECT_TRUE(one.endsSilently());
  EXPECT_EQ(ids(), (std::vector<std::uint32_t>{2}));
  EXPECT_TRUE(two.staysSilent(std::chrono::milliseconds(50)));
}

TEST_F(PushRegistration, OfAnotherIsNotTouchedByAnUnknownId) {
  const RawPipeClient client = registerPushClient(1);
  server_.UnregisterPushClient(2);
  EXPECT_EQ(server_.PushClientCount(), 1U);
}

TEST_F(PushRegistration, IsStampedByAHeartbeat) {
  const RawPipeClient client = registerPushClient(1);
  ipc::PushClient aged = inspector_.pushClients().at(1);
  aged.lastHeartbeatMs -= 1'000'000;
  aged.connected = false;
  inspector_.putPushClient(1, aged);
  server_.TouchPushClient(2);
  EXPECT_EQ(inspector_.pushClients().at(1).lastHeartbeatMs, aged.lastHeartbeatMs);
  EXPECT_EQ(server_.PushClientCount(), 1U);
  const std::int64_t before = ipc::monotonicMs();
  server_.TouchPushClient(1);
  EXPECT_GE(inspector_.pushClients().at(1).lastHeartbeatMs, before);
  EXPECT_LE(inspector_.pushClients().at(1).lastHeartbeatMs, ipc::monotonicMs());
  EXPECT_FALSE(inspector_.pushClients().at(1).connected);
}

TEST_F(PushRegistration, LastsUntilABroadcastNoticesThatTheClientIsGone) {
  RawPipeClient client = registerPushClient(1);
  client.close();
  EXPECT_EQ(server_.PushClientCount(), 1U);
  EXPECT_FALSE(server_.BroadcastPush(1, 2, nullptr, 0));
  EXPECT_EQ(server_.PushClientCount(), 0U);
}

// At stop a thread unregisters the id that it registered, whoever has it now.
TEST_F(PushRegistration, EndsForAReplacedAndAReplacingClientWhenTheServerStops) {
  const RawPipeClient first = registerPushClient(7);
  const auto second = std::make_shared<ipc::PushPipe>(
      win32::UniqueFileHandle(CreateEventA(nullptr, TRUE, FALSE, nullptr)));
  server_.RegisterPushClient(7, second);  // Without a thread of its own.
  server_.stop();
  EXPECT_TRUE(pushClientCountBecomes(0));
  EXPECT_EQ(second->get(), INVALID_HANDLE_VALUE);
}

// Nobody looks after it meanwhile: that its client has gone is for a broadcast to notice.
TEST_F(PushRegistration, WaitsForTheStopWithoutATimeOut) {
  ImportHook<decltype(WaitForSingleObject)> wait("kernel32.dll", "WaitForSingleObject");
  const RawPipeClient client = registerPushClient(1);
  const auto limits = [&] {
    std::vector<DWORD> all;
    for (const auto& [handle, limit] : wait.calls()) {
      if (handle == inspector_.stopEvent()) all.push_back(limit);
    }
    return all;
  };
  EXPECT_TRUE(waitUntil([&] { return !limits().empty(); }));
  EXPECT_EQ(limits(), (std::vector<DWORD>{INFINITE}));
}

TEST_F(PushRegistration, WorksForManyClientsAtOnce) {
  std::vector<BackgroundCall> calls;
  for (std::uint32_t thread = 0; thread < 8; ++thread) {
    calls.emplace_back([this, thread] {
      std::vector<RawPipeClient> clients;
      for (std::uint32_t i = 0; i < 10; ++i)
        clients.push_back(registerPushClient(thread * 100 + i));
      EXPECT_TRUE(server_.BroadcastPush(1, 2, nullptr, 0));
      for (RawPipeClient& client : clients) EXPECT_EQ(client.read().message.size(), 20U);
      for (std::uint32_t i = 0; i < 10; ++i) server_.UnregisterPushClient(thread * 100 + i);
    });
  }
  for (const BackgroundCall& call : calls) EXPECT_TRUE(call.ends(4 * kPatience));
  EXPECT_EQ(server_.PushClientCount(), 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
