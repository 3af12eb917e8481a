// When the supervisor keeps the server, and when and how it ends it.

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

#include "tests/ipc/supervisor_fixture.h"

namespace orva_accelerator::ipc {
namespace {

using test::ImportHook;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(Supervisor, StopsTheServerAfterOneNapOfTenSecondsWhenNobodyIsThere) {
  inspector.runSupervisorLoop();
  EXPECT_THAT(events, ElementsAre("sleep 10000", "signal"));
  EXPECT_FALSE(server.isRunning());
  EXPECT_TRUE(isSignalled());
  EXPECT_THAT(kernel.calls(), IsEmpty());
}

TEST_F(Supervisor, ClearsRunningBeforeItSignalsTheEvent) {
  server.ownership.settle(4, 7);
  inspector.runSupervisorLoop();
  EXPECT_THAT(events, ElementsAre("sleep 10000", "stop acceleration", "signal"));
}

TEST_F(Supervisor, EndsAtOnceWhenTheServerIsNotRunning) {
  server.stop();
  events.clear();
  inspector.runSupervisorLoop();
  EXPECT_THAT(events, IsEmpty());
  EXPECT_EQ(processes.searches(), 0U);
}

TEST_F(Supervisor, NoticesAStopFromOutsideOnlyAtTheTopOfTheNextCycle) {
  processes.set({L"Zandor.exe"});
  runUntilCycle(1);
  EXPECT_EQ(processes.searches(), 1U);  // The cycle that was under way is finished.
  EXPECT_THAT(events, ElementsAre("sleep 10000", "signal"));
}

TEST_F(Supervisor, StaysUpForTheHostApplicationWithoutAnyClient) {
  processes.set({L"System", L"ZANDOR.exe"});
  runUntilCycle(5);
  EXPECT_EQ(processes.searches(), 5U);
  EXPECT_EQ(std::count(events.begin(), events.end(), "sleep 10000"), 5);
}

TEST_F(Supervisor, DoesNotAskForClientsWhileTheHostApplicationRuns) {
  processes.set({L"Zandor.exe"});
  addClient(1, {});
  runUntilCycle(3);
  EXPECT_EQ(std::count(events.begin(), events.end(), "ask 1001"), 0);
}

TEST_F(Supervisor, StopsInTheCycleInWhichTheHostApplicationIsGone) {
  processes.set({L"Zandor.exe"});
  beforeCycle = [this](int cycle) {
    if (cycle == 3) processes.set({L"NotZandor.exe"});
  };
  inspector.runSupervisorLoop();
  EXPECT_THAT(events, ElementsAre("sleep 10000", "sleep 10000", "sleep 10000", "signal"));
}

TEST_F(Supervisor, CountsAFailedProcessListAsNoHostApplication) {
  processes.set({L"Zandor.exe"});
  processes.failSnapshot();
  inspector.runSupervisorLoop();
  EXPECT_FALSE(server.isRunning());
}

TEST_F(Supervisor, StaysUpForOneLiveClient) {
  addClient(7, {});
  runUntilCycle(4);
  EXPECT_EQ(std::count(events.begin(), events.end(), "ask 1007"), 4);
  EXPECT_EQ(openProcessHandles(), 0U);
}

ClientProcess gone() {
  ClientProcess process;
  process.exitCode = 0;
  return process;
}

TEST_F(Supervisor, AsksClientsInAscendingOrderUpToTheFirstLiveOne) {
  addClient(30, {});
  addClient(20, {});
  addClient(10, gone());
  runUntilCycle(1);
  EXPECT_THAT(events, ElementsAre("sleep 10000", "signal", "ask 1010", "ask 1020"));
  EXPECT_EQ(openProcessHandles(), 0U);
}

struct DeadClient {
  const char* what;
  ClientProcess process;
};

std::vector<DeadClient> deadClients() {
  ClientProcess noProcessId;
  noProcessId.hasProcessId = false;
  ClientProcess cannotBeOpened;
  cannotBeOpened.opens = false;
  ClientProcess hasNoExitCode;
  hasNoExitCode.hasExitCode = false;
  ClientProcess endedWithMinusOne;
  endedWithMinusOne.exitCode = 0xFFFFFFFF;
  ClientProcess killed;
  killed.exitCode = 0xC0000005;
  return {{"its pipe does not tell", noProcessId},
          {"its process cannot be opened", cannotBeOpened},
          {"its process does not tell", hasNoExitCode},
          {"its process has ended", gone()},
          {"its process has ended with -1", endedWithMinusOne},
          {"its process has crashed", killed}};
}

TEST_F(Supervisor, CountsAClientAsGoneWheneverItsProcessIsNotSeenToRun) {
  for (const DeadClient& dead : deadClients()) {
    SCOPED_TRACE(dead.what);
    inspector.startWithoutThreads(L"", L"");
    addClient(7, dead.process);
    inspector.runSupervisorLoop();
    EXPECT_FALSE(server.isRunning());
    EXPECT_EQ(openProcessHandles(), 0U);
    EXPECT_EQ(inspector.pushClients().size(), 1U);  // Whoever cannot be reached is not our affair.
  }
}

TEST_F(Supervisor, LooksPastGoneClientsForALiveOne) {
  std::uint32_t id = 1;
  for (const DeadClient& dead : deadClients()) addClient(id++, dead.process);
  addClient(id, {});
  runUntilCycle(2);
  EXPECT_EQ(std::count(events.begin(), events.end(), "ask " + std::to_string(1000 + id)), 2);
  EXPECT_EQ(openProcessHandles(), 0U);
}

TEST_F(Supervisor, StaysUpForAClientThatIsNotConnected) {
  addClient(7, {});
  PushClient client = inspector.pushClients().at(7);
  client.connected = false;
  inspector.putPushClient(7, client);
  runUntilCycle(2);
  EXPECT_EQ(std::count(events.begin(), events.end(), "ask 1007"), 2);
}

TEST_F(Supervisor, PassesOverAnEntryWithoutPipe) {
  PushClient client;
  client.id = 7;
  client.connected = true;
  inspector.putPushClient(7, std::move(client));
  inspector.runSupervisorLoop();
  EXPECT_THAT(events, ElementsAre("sleep 10000", "signal"));
}

TEST_F(Supervisor, JudgesByProcessesAndNotByHeartbeats) {
  addClient(7, {});  // Registered with heartbeat 0, as if silent since the computer was started.
  runUntilCycle(3);
  EXPECT_EQ(inspector.pushClients().at(7).lastHeartbeatMs, 0);
  EXPECT_EQ(std::count(events.begin(), events.end(), "ask 1007"), 3);

  inspector.startWithoutThreads(L"", L"");
  processOf(1007).exitCode = 0;
  server.TouchPushClient(7);
  server.recordActivity();
  inspector.runSupervisorLoop();
  EXPECT_FALSE(server.isRunning());
}

TEST_F(Supervisor, StopsAccelerationOnceAndTellsNobody) {
  struct Row {
    const char* what;
    bool accelerating;
    bool startPending;
    bool accepted;
    bool completedInside;
  };
  const Row rows[] = {
      {"running", true, false, true, false},
      {"pending", false, true, true, false},
      {"both", true, true, true, false},
      {"refused", true, false, false, false},
      {"completed inside", true, false, true, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    inspector.startWithoutThreads(L"", L"");
    kernel.clearCalls();
    acceptStops = row.accepted ? 1 : 0;
    completeStops = row.completedInside;
    set(server.ownership, {row.accelerating, row.accelerating ? 7U : 0U, row.startPending,
                           row.startPending ? 9U : 0U});
    addClient(7, gone());  // Would be told all the same.
    ImportHook<decltype(WriteFile)> writes("kernel32.dll", "WriteFile");
    inspector.runSupervisorLoop();
    EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_StopAccel()"));
    if (!row.completedInside) kernel.stopCompletion()(nullptr, 0, nullptr);
    EXPECT_EQ(writes.callCount(), 0U);
    EXPECT_EQ(get(server.ownership), kNobody);
    EXPECT_FALSE(server.isRunning());
  }
}

// The service may be gone as soon as the server does not run, and a completion may look at both.
TEST_F(Supervisor, StopsAccelerationWhileTheServerRunsAndTheOwnerIsKnownAndTheTableIsFree) {
  const Owner owner = {true, 7, true, 9};
  set(server.ownership, owner);
  bool asked = false;
  kernel.Kernel_StopAccel = [&](void*, sdk::KernelCodeCompletion) {
    asked = true;
    EXPECT_TRUE(server.isRunning());
    EXPECT_EQ(get(server.ownership), owner);
    std::thread([this] {
      const bool free = inspector.pushClientsMutex().try_lock();
      EXPECT_TRUE(free);
      if (free) inspector.pushClientsMutex().unlock();
    }).join();
    return sdk::KernelBool{1};
  };
  inspector.runSupervisorLoop();
  EXPECT_TRUE(asked);
}

TEST_F(Supervisor, StopsAccelerationThoughSomebodyElseHasStoppedTheServerDuringItsNap) {
  server.ownership.settle(4, 7);
  runUntilCycle(1);
  EXPECT_THAT(events, ElementsAre("sleep 10000", "signal", "stop acceleration", "signal"));
  EXPECT_EQ(get(server.ownership), kNobody);
}

TEST_F(Supervisor, LetsAccelerationRunWhileAClientLives) {
  addClient(7, {});
  server.ownership.settle(4, 7);
  runUntilCycle(3);
  EXPECT_THAT(kernel.calls(), IsEmpty());
  EXPECT_EQ(get(server.ownership), (Owner{true, 7, false, 0}));
}

TEST_F(Supervisor, HoldsTheTablesMutexWhileItAsks) {
  addClient(7, {});
  bool wasFree = true;
  ImportHook<BOOL(HANDLE, DWORD*)> exitCode("kernel32.dll", "GetExitCodeProcess");
  exitCode.replace([&](HANDLE, DWORD* code) -> BOOL {
    std::thread([&] {
      wasFree = inspector.pushClientsMutex().try_lock();
      if (wasFree) inspector.pushClientsMutex().unlock();
    }).join();
    *code = STILL_ACTIVE;
    return TRUE;
  });
  runUntilCycle(1);
  EXPECT_FALSE(wasFree);
}

}  // namespace
}  // namespace orva_accelerator::ipc
