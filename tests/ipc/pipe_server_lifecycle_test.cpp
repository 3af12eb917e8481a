// Starting, stopping and destroying the server.
#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <system_error>

#include "ipc/monotonic_clock.h"
#include "ipc/pipe_listener.h"
#include "tests/ipc/channel_test.h"
#include "tests/ipc/pipe_call_log.h"
#include "tests/support/ownership_inspector.h"
#include "tests/support/thread_shortage.h"

namespace orva_accelerator::test {
namespace {

class PipeServerLifecycle : public ChannelTest {};
using PipeServerStart = PipeServerLifecycle;
using PipeServerStop = PipeServerLifecycle;

TEST_F(PipeServerLifecycle, BeginsWithNothing) {
  EXPECT_FALSE(server_.isRunning());
  EXPECT_EQ(inspector_.requestPipeName(), L"");
  EXPECT_EQ(inspector_.pushPipeName(), L"");
  EXPECT_FALSE(inspector_.requestAcceptThread().joinable());
  EXPECT_FALSE(inspector_.pushAcceptThread().joinable());
  EXPECT_FALSE(inspector_.supervisorThread().joinable());
  EXPECT_EQ(inspector_.connectionThreadCount(), 0U);
  EXPECT_TRUE(inspector_.requestPipes().empty());
  EXPECT_TRUE(inspector_.pushClients().empty());
  EXPECT_FALSE(inspector_.messageHandler());
  EXPECT_EQ(get(server_.ownership), ipc::kNobody);
  EXPECT_EQ(inspector_.lastActivityMs(), 0);
  EXPECT_EQ(inspector_.stopEvent(), nullptr);
}

TEST_F(PipeServerStart, FillsTheServer) {
  const std::int64_t before = ipc::monotonicMs();
  start();
  EXPECT_TRUE(server_.isRunning());
  EXPECT_EQ(inspector_.requestPipeName(), requestName_);
  EXPECT_EQ(inspector_.pushPipeName(), pushName_);
  EXPECT_TRUE(inspector_.requestAcceptThread().joinable());
  EXPECT_TRUE(inspector_.pushAcceptThread().joinable());
  EXPECT_TRUE(inspector_.supervisorThread().joinable());
  EXPECT_TRUE(inspector_.messageHandler());
  EXPECT_GE(inspector_.lastActivityMs(), before);
  EXPECT_LE(inspector_.lastActivityMs(), ipc::monotonicMs());
  EXPECT_EQ(WaitForSingleObject(inspector_.stopEvent(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_EQ(ipc::currentPipeServer, &server_);
}

TEST_F(PipeServerStart, MakesTheServerTheCurrentOneUntilAnotherIsStarted) {
  start();
  ipc::PipeServer& second = *new ipc::PipeServer;
  ASSERT_TRUE(second.start(uniquePipeName(L"request"), uniquePipeName(L"push")));
  EXPECT_EQ(ipc::currentPipeServer, &second);
  EXPECT_FALSE(server_.start(requestName_, pushName_));
  EXPECT_EQ(ipc::currentPipeServer, &second);
  second.stop();
  EXPECT_EQ(ipc::currentPipeServer, &second);
}

TEST_F(PipeServerStart, PutsItsHandlerInPlaceOfAnother) {
  inspector_.messageHandler() = [](auto&&...) {};
  start();
  RawPipeClient client = connect();
  expectServed(client);
}

TEST_F(PipeServerStart, CreatesAnUnnamedManualResetEvent) {
  ImportHook<decltype(CreateEventA)> hook("kernel32.dll", "CreateEventA");
  start();
  const auto calls = hook.calls();
  ASSERT_FALSE(calls.empty());  // Threads make events too, later.
  const auto& [security, manualReset, initialState, name] = calls.front();
  EXPECT_EQ(security, nullptr);
  EXPECT_TRUE(manualReset);
  EXPECT_FALSE(initialState);
  EXPECT_EQ(name, nullptr);
}

TEST_F(PipeServerStart, ReturnsFalseAndChangesNothingWhenTheServerRuns) {
  start();
  const HANDLE event = inspector_.stopEvent();
  const auto thread = inspector_.supervisorThread().get_id();
  const std::int64_t activity = inspector_.lastActivityMs();
  ASSERT_TRUE(waitUntil([activity] { return ipc::monotonicMs() > activity; }));
  EXPECT_FALSE(server_.start(uniquePipeName(L"other"), uniquePipeName(L"other")));
  EXPECT_TRUE(server_.isRunning());
  EXPECT_EQ(inspector_.requestPipeName(), requestName_);
  EXPECT_EQ(inspector_.pushPipeName(), pushName_);
  EXPECT_EQ(inspector_.stopEvent(), event);
  EXPECT_EQ(inspector_.supervisorThread().get_id(), thread);
  EXPECT_EQ(inspector_.lastActivityMs(), activity);
  RawPipeClient client = connect();
  expectServed(client);
}

TEST_F(PipeServerStart, ReturnsFalseWhenTheEventCannotBeCreated) {
  {
    ImportHook<decltype(CreateEventA)> hook("kernel32.dll", "CreateEventA");
    hook.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, nullptr);
    EXPECT_FALSE(server_.start(requestName_, pushName_));
  }
  EXPECT_FALSE(server_.isRunning());
  EXPECT_EQ(inspector_.requestPipeName(), L"");
  EXPECT_FALSE(inspector_.requestAcceptThread().joinable());
  EXPECT_FALSE(inspector_.messageHandler());
  start();  // Nothing stands in the way of a second attempt.
  RawPipeClient client = connect();
  expectServed(client);
}

class FailingThread : public PipeServerLifecycle,
                      public testing::WithParamInterface<std::size_t> {};

TEST_P(FailingThread, MakesStartThrow) {
  const ThreadShortage shortage(GetParam());
  try {
    (void)server_.start(requestName_, pushName_);
    FAIL() << "nothing was thrown";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
  }
  EXPECT_EQ(shortage.callCount(), GetParam() + 1);
  EXPECT_EQ(inspector_.requestAcceptThread().joinable(), GetParam() > 0);
  EXPECT_EQ(inspector_.pushAcceptThread().joinable(), GetParam() > 1);
  EXPECT_EQ(std::get<1>(shortage.calls().front()), 0U);  // The default stack size.
}

INSTANTIATE_TEST_SUITE_P(AfterOthers, FailingThread, testing::Values(0, 1, 2));

TEST_F(PipeServerStart, ResetsTheEventThatAStopHasSignalled) {
  {
    const ThreadShortage shortage;
    EXPECT_THROW((void)server_.start(requestName_, pushName_), std::system_error);
  }
  const HANDLE event = inspector_.stopEvent();
  server_.stop();
  ASSERT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_OBJECT_0));
  start();
  EXPECT_EQ(inspector_.stopEvent(), event);
  EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST_F(PipeServerStop, ClearsRunningAndSignalsTheEvent) {
  start();
  server_.stop();
  EXPECT_FALSE(server_.isRunning());
  EXPECT_EQ(WaitForSingleObject(inspector_.stopEvent(), 0), static_cast<DWORD>(WAIT_OBJECT_0));
}

TEST_F(PipeServerStop, OnlyClearsRunningWhenTheServerWasNeverStarted) {
  ImportHook<decltype(SetEvent)> hook("kernel32.dll", "SetEvent");
  inspector_.setRunning(true);
  server_.stop();
  EXPECT_FALSE(server_.isRunning());
  EXPECT_EQ(inspector_.stopEvent(), nullptr);
  EXPECT_EQ(hook.callCount(), 0U);
}

TEST_F(PipeServerStop, MayBeRepeated) {
  start();
  server_.stop();
  server_.stop();
  EXPECT_FALSE(server_.isRunning());
}

TEST_F(PipeServerStop, LetsABlockedConnectionAnswerOneMoreRequest) {
  const PipeCallLog log;
  start();
  RawPipeClient client = connect();
  expectServed(client);
  const HANDLE pipe = waitForOnlyRequestPipe();
  ASSERT_TRUE(waitUntil([&] { return log.count(pipe, "ReadFile 24") == 2; }));
  server_.stop();
  EXPECT_TRUE(client.staysSilent(std::chrono::milliseconds(100)));
  expectServed(client);
  EXPECT_TRUE(client.endsSilently());
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().empty(); }));
}

TEST_F(PipeServerStop, LetsABlockedConnectionEndWhenItsClientLeaves) {
  const PipeCallLog log;
  start();
  RawPipeClient client = connect();
  const HANDLE pipe = waitForOnlyRequestPipe();
  ASSERT_TRUE(waitUntil([&] { return log.count(pipe, "ReadFile 24") == 1; }));
  server_.stop();
  EXPECT_EQ(inspector_.requestPipes().size(), 1U);
  client.close();
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().empty(); }));
}

TEST_F(PipeServerStop, LetsTheAcceptLoopTakeOneMoreClientWhoseConnectionEndsAtOnce) {
  const PipeCallLog log;
  start();
  ASSERT_TRUE(waitUntil([&] { return log.listeners().size() == 2; }));
  server_.stop();
  RawPipeClient client = connect();
  EXPECT_TRUE(client.endsSilently());
  EXPECT_TRUE(waitUntil([this] { return inspector_.connectionThreadCount() == 1; }));
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().empty(); }));
  RawPipeClient late;
  EXPECT_NE(late.open(requestName_, std::chrono::milliseconds(100)), 0U);
}

TEST_F(PipeServerStop, UnregistersThePushClients) {
  start();
  RawPipeClient one = registerPushClient(1);
  RawPipeClient two = registerPushClient(2);
  server_.stop();
  EXPECT_TRUE(one.endsSilently());
  EXPECT_TRUE(two.endsSilently());
  EXPECT_TRUE(pushClientCountBecomes(0));
}

TEST(PipeServerDestruction, DoesNothingToAServerThatWasNeverStarted) {
  auto server = std::make_unique<ipc::PipeServer>();
  server.reset();
  EXPECT_EQ(server, nullptr);
}

class PipeServerDeathTest : public ChannelTest {};

TEST_F(PipeServerDeathTest, EndsTheProcessWhenAStartedServerIsDestroyed) {
  EXPECT_EXIT(
      {
        start();
        delete &server_;
      },
      testing::ExitedWithCode(3), "");
}

TEST_F(PipeServerDeathTest, EndsTheProcessWhenAStoppedServerIsDestroyed) {
  EXPECT_EXIT(
      {
        start();
        server_.stop();
        delete &server_;
      },
      testing::ExitedWithCode(3), "");
}

TEST_F(PipeServerDeathTest, EndsTheProcessWhenAServerWithConnectionsIsDestroyed) {
  EXPECT_EXIT(
      {
        start();
        RawPipeClient client = connect();
        expectServed(client);
        RawPipeClient push = registerPushClient(1);
        delete &server_;
      },
      testing::ExitedWithCode(3), "");
}

HANDLE pipeAtTheEnd = INVALID_HANDLE_VALUE;

[[noreturn]] void endWith42IfThePipeIsOpen() {
  DWORD flags = 0;
  std::_Exit(GetHandleInformation(pipeAtTheEnd, &flags) ? 42 : 1);
}

// Of a client without a thread that unregisters it on a stop, so that only the destruction is left
// to close it.
TEST_F(PipeServerDeathTest, LeavesThePushPipesOpenUntilTheProcessEnds) {
  EXPECT_EXIT(
      {
        start();
        win32::UniqueFileHandle pipe = ipc::createSecuredPipe(uniquePipeName(L"kept"));
        pipeAtTheEnd = pipe.get();
        server_.RegisterPushClient(1, std::make_shared<ipc::PushPipe>(std::move(pipe)));
        std::set_terminate(endWith42IfThePipeIsOpen);
        delete &server_;
      },
      testing::ExitedWithCode(42), "");
}

const PipeCallLog* callsToTheEnd = nullptr;

[[noreturn]] void endWith42IfThePipeIsStillReadFrom() {
  const PipeCallLog::Lines expected = {"ConnectNamedPipe", "ReadFile 24"};
  std::_Exit(callsToTheEnd->of(pipeAtTheEnd) == expected ? 42 : 1);
}

TEST_F(PipeServerDeathTest, LeavesTheRequestPipesAloneUntilTheProcessEnds) {
  EXPECT_EXIT(
      {
        const PipeCallLog log;
        callsToTheEnd = &log;
        start();
        RawPipeClient client = connect();
        pipeAtTheEnd = waitForOnlyRequestPipe();
        (void)waitUntil([&] { return log.count(pipeAtTheEnd, "ReadFile 24") == 1; });
        std::set_terminate(endWith42IfThePipeIsStillReadFrom);
        delete &server_;
      },
      testing::ExitedWithCode(42), "");
}

TEST_F(PipeServerDeathTest, EndsTheProcessWhenItHasNoHandlerForARequest) {
  EXPECT_EXIT(
      {
        start();
        inspector_.messageHandler() = nullptr;
        RawPipeClient client = connect();
        (void)client.write(headerBytes(kEchoType, 0));
        (void)client.endsSilently();
      },
      testing::ExitedWithCode(3), "");
}

TEST_F(PipeServerDeathTest, EndsTheProcessWhenAStoppedServerIsStartedAgain) {
  EXPECT_EXIT(
      {
        start();
        server_.stop();
        start();
      },
      testing::ExitedWithCode(3), "");
}

// A server without handler, as it was before its second start.
ipc::PipeServerInspector* restarted = nullptr;
std::wstring nameBeforeRestart;

[[noreturn]] void endWith42IfNothingHasChanged() {
  const bool same = restarted->requestPipeName() == nameBeforeRestart &&
                    restarted->pushPipeName() != L"other" && !restarted->messageHandler();
  std::_Exit(same ? 42 : 1);
}

// The old threads may still be reading it.
TEST_F(PipeServerDeathTest, ChangesNothingBeforeItEndsTheProcessOverASecondStart) {
  EXPECT_EXIT(
      {
        start();
        server_.stop();
        inspector_.messageHandler() = nullptr;
        restarted = &inspector_;
        nameBeforeRestart = requestName_;
        std::set_terminate(endWith42IfNothingHasChanged);
        (void)server_.start(L"other", L"other");
      },
      testing::ExitedWithCode(42), "");
}

TEST_F(PipeServerDeathTest, EndsTheProcessWhenThereIsNoThreadForAConnection) {
  EXPECT_EXIT(
      {
        const ThreadShortage shortage(3);
        start();
        RawPipeClient client = connect();
        (void)client.endsSilently();
      },
      testing::ExitedWithCode(3), "");
}

TEST_F(PipeServerDeathTest, EndsTheProcessWhenThereIsNoThreadForAPushClient) {
  EXPECT_EXIT(
      {
        const ThreadShortage shortage(3);
        start();
        RawPipeClient client;
        (void)client.open(pushName_);
        (void)client.endsSilently();
      },
      testing::ExitedWithCode(3), "");
}

}  // namespace
}  // namespace orva_accelerator::test
