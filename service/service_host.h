// The life of the service between the service control manager's start and the process's end.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>

#include "ipc/pipe_server.h"

namespace orva_accelerator::service {

// Given to the service control dispatcher. Brings the service up, keeps it until a stop or until
// the server stops running, and brings it down; a service that came up ends the process here. The
// arguments are not used.
void WINAPI serviceMain(DWORD argc, LPWSTR* argv);

// Given to the service control manager. Acts on stop and shutdown, alike, and lets everything else
// pass. Runs on the thread that is blocked in the dispatcher, beside serviceMain's.
void WINAPI serviceControlHandler(DWORD control);

// Owns what the two functions share. There is one a process.
class ServiceHost {
 public:
  // Created at the first call and never destroyed: whatever thread calls exit, for instance to end
  // the process because the library is unusable, must reach its exit code. Destroying a running
  // server would end the process in another way on the way there.
  static ServiceHost& instance();

  ServiceHost(const ServiceHost&) = delete;
  ServiceHost& operator=(const ServiceHost&) = delete;

  void run();
  void handleControl(DWORD control);

 private:
  friend class ServiceHostInspector;  // Lets tests look at the server.

  ServiceHost() = default;
  ~ServiceHost() = default;

  bool startServer();
  void waitForTheEnd();
  void takeServerDown();
  [[noreturn]] void endProcess();

  // Enters the state, keeping the wait hint where none is given, and reports.
  void report(DWORD state, DWORD waitHintMs);
  void report(DWORD state);
  void report();

  std::atomic<SERVICE_STATUS_HANDLE> serviceStatusHandle = nullptr;

  // What changes in the status that is reported. Both threads write it and report, without agreeing
  // on an order: a stop that arrives while the service comes up may be overtaken by RUNNING, and a
  // report made late shows the state that was written last. Nothing depends on more than that, and
  // no lock keeps the handler from answering while the other thread is inside a call of the
  // manager.
  struct {
    std::atomic<DWORD> state = 0;
    std::atomic<DWORD> waitHintMs = 0;
  } serviceStatus;

  // Manual reset, unnamed. Null until serviceMain has created it, which a control may precede.
  // Not the server's own stop event.
  std::atomic<HANDLE> serviceStopEvent = nullptr;

  // The server, and what the wait loop looks at; the latter becomes null first.
  std::unique_ptr<ipc::PipeServer> pipeServerOwner;
  ipc::PipeServer* pipeServer = nullptr;
};

}  // namespace orva_accelerator::service
