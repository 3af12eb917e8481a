// The supervisor's decisions, on the test's own thread: its naps and everything it asks the system
// about processes are replaced, and nothing takes time.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "ipc/pipe_server.h"
#include "sdk/kernel_function_table.h"
#include "tests/ipc/fake_process_list.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_names.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::ipc {
namespace {

using test::FakeKernel;
using test::FakeProcessList;
using test::ImportHook;
using testing::ElementsAre;
using testing::IsEmpty;

// --- The loop -----------------------------------------------------------------------------------

// What the system says about one client's process.
struct ClientProcess {
  ULONG processId = 0;
  bool hasProcessId = true;
  bool opens = true;
  bool hasExitCode = true;
  DWORD exitCode = STILL_ACTIVE;
};

class Supervisor : public testing::Test {
 protected:
  Supervisor() {
    EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
    sleep_.replace([this](DWORD milliseconds) { onSleep(milliseconds); });
    clientProcessId_.replace([this](HANDLE pipe, ULONG* processId) -> BOOL {
      const auto found = clients_.find(pipe);
      if (found == clients_.end() || !found->second.hasProcessId) return FALSE;
      events.push_back("ask " + std::to_string(found->second.processId));
      *processId = found->second.processId;
      return TRUE;
    });
    openProcess_.replace([this](DWORD access, BOOL inherit, DWORD processId) -> HANDLE {
      EXPECT_EQ(access, 0x1000U);
      EXPECT_EQ(inherit, FALSE);
      const ClientProcess& process = processOf(processId);
      if (!process.opens) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
      }
      const HANDLE handle = CreateEventA(nullptr, TRUE, FALSE, nullptr);
      opened_[handle] = processId;
      return handle;
    });
    exitCode_.replace([this](HANDLE handle, DWORD* code) -> BOOL {
      const ClientProcess& process = processOf(opened_.at(handle));
      if (!process.hasExitCode) return FALSE;
      *code = process.exitCode;
      return TRUE;
    });
    close_.replace([this](HANDLE handle) -> BOOL {
      opened_.erase(handle);
      return close_.callOriginal(handle);
    });
    setEvent_.observe([this](HANDLE event) {
      if (event == inspector.stopEvent()) {
        events.push_back(server.isRunning() ? "signal while running" : "signal");
      }
    });
    kernel.stopAccel = [this](void*, sdk::KernelCodeCompletion completion) {
      events.push_back("stop acceleration");
      if (completeStops) completion(nullptr, 0, nullptr);
      return acceptStops;
    };
    inspector.startWithoutThreads(test::uniquePipeName(L"request"), test::uniquePipeName(L"push"));
    // Full slots, so that nothing is restarted unless a test empties them.
    inspector.requestAcceptThread() = std::thread([] {});
    inspector.pushAcceptThread() = std::thread([] {});
  }

  ~Supervisor() override {
    for (std::thread* slot : {&inspector.requestAcceptThread(), &inspector.pushAcceptThread()}) {
      if (slot->joinable()) slot->detach();
    }
  }

  // A registered client whose pipe is an event: the supervisor only asks about it.
  void addClient(std::uint32_t id, ClientProcess process) {
    const HANDLE pipe = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    process.processId = 1000 + id;
    std::erase_if(clients_, [&](const auto& entry) {
      return entry.second.processId == process.processId;  // The id's earlier client.
    });
    clients_[pipe] = process;
    PushClient client;
    client.id = id;
    client.pipe = std::make_shared<PushPipe>(pipe);
    client.connected = true;
    inspector.putPushClient(id, std::move(client));
  }

  ClientProcess& processOf(DWORD processId) {
    for (auto& [pipe, process] : clients_) {
      if (process.processId == processId) return process;
    }
    ADD_FAILURE() << "process " << processId << " is nobody's";
    static ClientProcess nobody;
    return nobody;
  }

  // Runs the loop; in the given cycle (counted from 1) it finds the server stopped when it wakes.
  void runUntilCycle(int lastCycle) {
    lastCycle_ = lastCycle;
    inspector.runSupervisorLoop();
  }

  bool isSignalled() const {
    return WaitForSingleObject(inspector.stopEvent(), 0) == WAIT_OBJECT_0;
  }

  FakeKernel kernel;
  FakeProcessList processes;
  PipeServer& server = *new PipeServer;  // Its threads are never joined.
  PipeServerInspector inspector{server};
  std::vector<std::string> events;
  std::function<void(int cycle)> beforeCycle;
  sdk::KernelBool acceptStops = 1;
  bool completeStops = false;

 private:
  void onSleep(DWORD milliseconds) {
    if (milliseconds < 1000) return sleep_.callOriginal(milliseconds);  // Somebody else's.
    events.push_back("sleep " + std::to_string(milliseconds));
    ++cycle_;
    if (beforeCycle) beforeCycle(cycle_);
    if (cycle_ == lastCycle_) server.stop();
    // A loop that should have ended must not hang the test.
    if (cycle_ > 50) {
      ADD_FAILURE() << "the loop does not end";
      TerminateProcess(GetCurrentProcess(), 1);
    }
  }

  int cycle_ = 0;
  int lastCycle_ = 0;
  std::map<HANDLE, ClientProcess> clients_;
  std::map<HANDLE, DWORD> opened_;

 protected:
  std::size_t openProcessHandles() const { return opened_.size(); }

 private:
  ImportHook<decltype(Sleep)> sleep_{"kernel32.dll", "Sleep"};
  ImportHook<BOOL(HANDLE, ULONG*)> clientProcessId_{"kernel32.dll", "GetNamedPipeClientProcessId"};
  ImportHook<decltype(OpenProcess)> openProcess_{"kernel32.dll", "OpenProcess"};
  ImportHook<BOOL(HANDLE, DWORD*)> exitCode_{"kernel32.dll", "GetExitCodeProcess"};
  ImportHook<decltype(SetEvent)> setEvent_{"kernel32.dll", "SetEvent"};
  ImportHook<decltype(CloseHandle)> close_{"kernel32.dll", "CloseHandle"};
};

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

TEST_F(Supervisor, AsksClientsInAscendingOrderUpToTheFirstLiveOne) {
  ClientProcess dead;
  dead.exitCode = 0;
  addClient(30, {});
  addClient(20, {});
  addClient(10, dead);
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
  ClientProcess ended;
  ended.exitCode = 0;
  ClientProcess killed;
  killed.exitCode = 0xC0000005;
  return {{"its pipe does not tell", noProcessId},
          {"its process cannot be opened", cannotBeOpened},
          {"its process does not tell", hasNoExitCode},
          {"its process has ended", ended},
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
    server.ownership.accelerating = row.accelerating;
    server.ownership.acceleratingClientId = row.accelerating ? 7 : 0;
    server.ownership.startPending = row.startPending;
    server.ownership.startPendingClientId = row.startPending ? 9 : 0;
    ImportHook<decltype(WriteFile)> writes("kernel32.dll", "WriteFile");
    inspector.runSupervisorLoop();
    EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_StopAccel()"));
    EXPECT_EQ(writes.callCount(), 0U);
    EXPECT_FALSE(server.ownership.accelerating);
    EXPECT_EQ(server.ownership.acceleratingClientId, 0U);
    EXPECT_FALSE(server.ownership.startPending);
    EXPECT_EQ(server.ownership.startPendingClientId, 0U);
    EXPECT_FALSE(server.isRunning());
  }
}

TEST_F(Supervisor, LetsAccelerationRunWhileAClientLives) {
  addClient(7, {});
  server.ownership.settle(4, 7);
  runUntilCycle(3);
  EXPECT_THAT(kernel.calls(), IsEmpty());
  EXPECT_TRUE(server.ownership.accelerating);
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

// --- Empty slots --------------------------------------------------------------------------------

class SupervisorSlots : public Supervisor {
 protected:
  SupervisorSlots() {
    processes.set({L"Zandor.exe"});
    inspector.requestAcceptThread().detach();
    inspector.pushAcceptThread().detach();
  }
};

TEST_F(SupervisorSlots, AreFilledInTheFirstCycle) {
  const std::wstring requestName = test::uniquePipeName(L"request");
  const std::wstring pushName = test::uniquePipeName(L"push");
  inspector.startWithoutThreads(requestName, pushName);
  test::RawPipeClient requestClient;
  test::RawPipeClient pushClient;
  beforeCycle = [&](int cycle) {
    if (cycle == 1) {
      EXPECT_FALSE(inspector.requestAcceptThread().joinable());
      EXPECT_FALSE(inspector.pushAcceptThread().joinable());
    } else {
      EXPECT_EQ(requestClient.open(requestName), 0U);
      EXPECT_EQ(pushClient.open(pushName), 0U);
    }
  };
  runUntilCycle(2);
  EXPECT_TRUE(inspector.requestAcceptThread().joinable());
  EXPECT_TRUE(inspector.pushAcceptThread().joinable());
}

TEST_F(SupervisorSlots, ThatAreFullKeepTheirThreads) {
  std::thread::id request;
  std::thread::id push;
  beforeCycle = [&](int cycle) {
    if (cycle == 2) {
      request = inspector.requestAcceptThread().get_id();
      push = inspector.pushAcceptThread().get_id();
    }
  };
  runUntilCycle(4);
  EXPECT_NE(request, std::thread::id());
  EXPECT_EQ(inspector.requestAcceptThread().get_id(), request);
  EXPECT_EQ(inspector.pushAcceptThread().get_id(), push);
}

TEST_F(SupervisorSlots, StayEmptyOnceTheServerHasBeenStopped) {
  runUntilCycle(1);
  EXPECT_FALSE(inspector.requestAcceptThread().joinable());
  EXPECT_FALSE(inspector.pushAcceptThread().joinable());
}

TEST_F(SupervisorSlots, FailWithASystemErrorWhenNoThreadCanBeMade) {
  ImportHook<std::uintptr_t(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned,
                            unsigned*)>
      begin("msvcrt.dll", "_beginthreadex");
  begin.replace([](void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned,
                   unsigned*) -> std::uintptr_t {
    errno = EAGAIN;
    return 0;
  });
  try {
    inspector.runSupervisorLoop();
    ADD_FAILURE() << "no error";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
  }
}

}  // namespace
}  // namespace orva_accelerator::ipc
