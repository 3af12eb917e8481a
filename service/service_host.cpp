#include "service/service_host.h"

#include <cstdlib>

#include "ipc/wire/pipe_names.h"
#include "service/service_identity.h"

namespace orva_accelerator::service {

namespace {

constexpr DWORD kServerPollMs = 1000;
constexpr DWORD kStopWaitHintMs = 3000;

// A stop ends the process through std::terminate, which calls abort, and abort is taken for a
// crash: no dialog and no error report may tell a player that the service "has stopped working".
// To be called right before that ending, so that a real fault until then is reported like that of
// any program. The exit code stays 3.
void makeTerminationQuiet() {
  // The C runtime that is part of Windows raises a fatal exception in abort; without this flag it
  // brings up the error reporting dialog.
  // The mode before is of no use: the process ends.
  (void)SetErrorMode(GetErrorMode() | SEM_NOGPFAULTERRORBOX);
#if defined(_MSC_VER) || defined(_UCRT)
  // The universal C runtime asks for a report by itself and then ends with 0xC0000409, and its
  // debug build shows a message box. Without both, abort ends with 3 as the other runtime does.
  // The flags before are of no use either.
  (void)_set_abort_behavior(0, _WRITE_ABORT_MSG | _CALL_REPORTFAULT);
#endif
}

}  // namespace

void WINAPI serviceMain(DWORD /*argc*/, LPWSTR* /*argv*/) {
  ServiceHost::instance().run();
}

void WINAPI serviceControlHandler(DWORD control) {
  ServiceHost::instance().handleControl(control);
}

ServiceHost& ServiceHost::instance() {
  static ServiceHost& host = *new ServiceHost;
  return host;
}

void ServiceHost::run() {
  const SERVICE_STATUS_HANDLE handle =
      RegisterServiceCtrlHandlerW(kServiceName, serviceControlHandler);
  if (handle == nullptr) return;
  serviceStatusHandle = handle;
  report(SERVICE_START_PENDING, 0);

  // An event that an earlier, failed run left behind is not closed: a late control may be about to
  // signal it.
  serviceStopEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  if (serviceStopEvent == nullptr || !startServer()) {
    report(SERVICE_STOPPED);
    return;
  }

  report(SERVICE_RUNNING, 0);
  // Serves as well without.
  (void)SetPriorityClass(GetCurrentProcess(), HIGH_PRIORITY_CLASS);
  waitForTheEnd();
  takeServerDown();
  endProcess();
}

// A server that did not start stays where it is; nothing waits on it.
bool ServiceHost::startServer() {
  if (pipeServerOwner) {
    pipeServerOwner->stop();
    pipeServerOwner.reset();
  }
  pipeServerOwner = std::make_unique<ipc::PipeServer>();
  pipeServer = pipeServerOwner.get();
  return pipeServer->start(ipc::kRequestPipeName, ipc::kPushPipeName);
}

void ServiceHost::waitForTheEnd() {
  while (pipeServer->isRunning()) {
    // A time-out and a failed wait are the same: look again.
    if (WaitForSingleObject(serviceStopEvent, kServerPollMs) == WAIT_OBJECT_0) return;
  }
}

void ServiceHost::takeServerDown() {
  pipeServer->stop();
  pipeServer = nullptr;
  makeTerminationQuiet();
  // Ends the process: the server's threads may be blocked in pipe calls for as long as a client
  // likes, so nobody waits for them. The manager learns of the end from the process.
  pipeServerOwner.reset();
}

void ServiceHost::endProcess() {
  report(SERVICE_STOPPED);
  const HANDLE event = serviceStopEvent.exchange(nullptr);
  // The process ends anyway.
  (void)CloseHandle(event);
  // Nothing else calls exit while the service comes down.
  // NOLINTNEXTLINE(concurrency-mt-unsafe)
  std::exit(0);
}

void ServiceHost::handleControl(DWORD control) {
  if (control != SERVICE_CONTROL_STOP && control != SERVICE_CONTROL_SHUTDOWN) return;
  serviceStatus.state = SERVICE_STOP_PENDING;
  serviceStatus.waitHintMs = kStopWaitHintMs;
  // Signalled before the report: the stop is under way even when the manager keeps us waiting.
  if (const HANDLE event = serviceStopEvent; event != nullptr) {
    // Fails only when the service has come down meanwhile.
    (void)SetEvent(event);
  }
  report();
}

void ServiceHost::report(DWORD state, DWORD waitHintMs) {
  serviceStatus.waitHintMs = waitHintMs;
  report(state);
}

void ServiceHost::report(DWORD state) {
  serviceStatus.state = state;
  report();
}

void ServiceHost::report() {
  SERVICE_STATUS status = {.dwServiceType = SERVICE_WIN32_OWN_PROCESS,
                           .dwCurrentState = serviceStatus.state,
                           .dwControlsAccepted = SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN,
                           .dwWin32ExitCode = NO_ERROR,
                           .dwServiceSpecificExitCode = 0,
                           .dwCheckPoint = 0,
                           .dwWaitHint = serviceStatus.waitHintMs};
  // A manager that cannot be told is one that is ending itself.
  (void)SetServiceStatus(serviceStatusHandle, &status);
}

}  // namespace orva_accelerator::service
