// The service's surroundings, for running serviceMain in a process that nobody started as a
// service.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/import_patch.h"

namespace orva_accelerator::service::test {

// Answers the calls by which serviceMain and the control handler reach the system, and writes each
// to standard error as it happens, one line a call: most runs end the process, so that this is what
// a death test can look at.
//
//   SetServiceStatus(status handle, {16, 2, 5, 0, 0, 0, 0})
//
// The numbers are the record's in its order: type, state, accepted controls, the two exit codes,
// check point, wait hint. No pipe is created: the server's loops try in vain and then sleep.
class HostStage {
 public:
  using Wait = std::function<DWORD()>;

  HostStage();

  // What the waits for the service's stop event do and return, one after the other; further waits
  // really wait.
  void onWaits(std::vector<Wait> waits) { waits_ = std::move(waits); }
  void refuseRegistration() { registers_ = false; }
  void refusePriority() { raisesPriority_ = false; }
  void refuseReports() { takesReports_ = false; }
  // The event that fails to be created, counted from 1: the service's own is the first one of a
  // run, the server's the second one.
  void refuseEvent(int number) { refusedEvent_ = number; }
  // What happens just before the server's event is created.
  void onServerEvent(std::function<void()> action) { onServerEvent_ = std::move(action); }
  void showPipeNames() { showsPipeNames_ = true; }
  // What happens inside the next call that writes this line, once, before the call goes on.
  void inside(std::string line, std::function<void()> action);

  // Both pipes have been tried.
  bool triedBothPipes() const { return pipes_.callCount() >= 2; }

  // One more line, as the calls make them.
  static void say(const std::string& line);

  // Ends the process with kReturned after saying so. For after serviceMain.
  [[noreturn]] static void returned();
  static constexpr int kReturned = 42;

  // What the registered handler is given, on a thread of its own as the dispatcher does.
  static void control(DWORD code);

 private:
  template <typename Function>
  using Hook = orva_accelerator::test::ImportHook<Function>;

  HANDLE createEvent(LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL signalled, LPCSTR name);
  DWORD wait(HANDLE handle, DWORD milliseconds);
  void answerManager();
  void answerErrorMode();
  void answerEvents();
  void answerServer();
  std::string nameOf(HANDLE handle) const;

  std::vector<Wait> waits_;
  std::size_t waited_ = 0;
  bool registers_ = true;
  bool raisesPriority_ = true;
  bool takesReports_ = true;
  bool showsPipeNames_ = false;
  int refusedEvent_ = 0;
  std::function<void()> onServerEvent_;
  int events_ = 0;
  HANDLE stopEvent_ = nullptr;
  HANDLE serverEvent_ = nullptr;

  Hook<decltype(RegisterServiceCtrlHandlerW)> register_{"advapi32.dll",
                                                        "RegisterServiceCtrlHandlerW"};
  Hook<decltype(SetServiceStatus)> report_{"advapi32.dll", "SetServiceStatus"};
  Hook<decltype(CreateEventA)> createEvent_{"kernel32.dll", "CreateEventA"};
  Hook<decltype(SetEvent)> setEvent_{"kernel32.dll", "SetEvent"};
  Hook<decltype(WaitForSingleObject)> wait_{"kernel32.dll", "WaitForSingleObject"};
  Hook<decltype(CloseHandle)> closeHandle_{"kernel32.dll", "CloseHandle"};
  Hook<decltype(SetPriorityClass)> priority_{"kernel32.dll", "SetPriorityClass"};
  Hook<decltype(GetErrorMode)> errorMode_{"kernel32.dll", "GetErrorMode"};
  Hook<decltype(SetErrorMode)> setErrorMode_{"kernel32.dll", "SetErrorMode"};
  Hook<decltype(CreateNamedPipeW)> pipes_{"kernel32.dll", "CreateNamedPipeW"};
  Hook<decltype(Sleep)> sleep_{"kernel32.dll", "Sleep"};
};

}  // namespace orva_accelerator::service::test
