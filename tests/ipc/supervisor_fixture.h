// The supervisor's loop on the test's own thread: its naps and everything it asks the system about
// processes are replaced, and nothing takes time.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ipc/pipe_server.h"
#include "sdk/kernel_function_table.h"
#include "tests/ipc/fake_process_list.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/import_patch.h"
#include "tests/support/ownership_inspector.h"
#include "tests/support/pipe_names.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::ipc {

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
  // Fills a slot until the process ends, so that the slot can be emptied by detaching the thread:
  // detaching one that is ending would not be safe, see win32/detached_thread.h.
  static void waitForTheEnd() {
    (void)WaitForSingleObject(GetCurrentProcess(), INFINITE);  // Never returns.
  }

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
    kernel.Kernel_StopAccel = [this](void*, sdk::KernelCodeCompletion completion) {
      events.push_back("stop acceleration");
      if (completeStops) completion(nullptr, 0, nullptr);
      return acceptStops;
    };
    inspector.startWithoutThreads(test::uniquePipeName(L"request"), test::uniquePipeName(L"push"));
    // Full slots, so that nothing is restarted unless a test empties them.
    inspector.requestAcceptThread() = std::thread(waitForTheEnd);
    inspector.pushAcceptThread() = std::thread(waitForTheEnd);
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
    client.pipe = std::make_shared<PushPipe>(win32::UniqueFileHandle(pipe));
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

  test::FakeKernel kernel;
  test::FakeProcessList processes;
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
  test::ImportHook<decltype(Sleep)> sleep_{"kernel32.dll", "Sleep"};
  test::ImportHook<BOOL(HANDLE, ULONG*)> clientProcessId_{"kernel32.dll",
                                                          "GetNamedPipeClientProcessId"};
  test::ImportHook<decltype(OpenProcess)> openProcess_{"kernel32.dll", "OpenProcess"};
  test::ImportHook<BOOL(HANDLE, DWORD*)> exitCode_{"kernel32.dll", "GetExitCodeProcess"};
  test::ImportHook<decltype(SetEvent)> setEvent_{"kernel32.dll", "SetEvent"};
  test::ImportHook<decltype(CloseHandle)> close_{"kernel32.dll", "CloseHandle"};
};

}  // namespace orva_accelerator::ipc
