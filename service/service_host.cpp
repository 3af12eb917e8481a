#include "service/service_host.h"

#include <cstdlib>

#include "ipc/wire/pipe_names.h"
#include "service/service_identity.h"

namespace orva_accelerator::service {

namespace {

constexpr DWORD kServerPollMs = 1000;
constexpr DWORD kStopWaitHintMs = 3000;

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
  enterState(SERVICE_START_PENDING, 0);
  report();

  // An event that an earlier, failed run left behind is not closed: a late control may be about to
  // signal it.
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  serviceStopEvent = event;
  if (event == nullptr || !startServer()) {
    enterState(SERVICE_STOPPED);
    report();
    return;
  }

  enterState(SERVICE_RUNNING, 0);
  report();
  (void)SetPriorityClass(GetCurrentProcess(), HIGH_PRIORITY_CLASS);  // Serves as well without.
  waitAndTakeDown();
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

void ServiceHost::waitAndTakeDown() {
  while (pipeServer != nullptr) {
    if (pipeServer->isRunning() &&
        WaitForSingleObject(serviceStopEvent, kServerPollMs) != WAIT_OBJECT_0) {
      continue;
    }
    pipeServer->stop();
    pipeServer = nullptr;
    // Ends the process: the server's threads may be blocked in pipe calls for as long as a client
    // likes, so nobody waits for them. The manager learns of the end from the process.
    pipeServerOwner.reset();
  }
}

void ServiceHost::endProcess() {
  enterState(SERVICE_STOPPED);
  report();
  const HANDLE event = serviceStopEvent.exchange(nullptr);
  (void)CloseHandle(event);  // The process ends anyway.
  // Nothing else calls exit while the service comes down.
  // NOLINTNEXTLINE(concurrency-mt-unsafe)
  std::exit(0);
}

void ServiceHost::handleControl(DWORD control) {
  if (control != SERVICE_CONTROL_STOP && control != SERVICE_CONTROL_SHUTDOWN) return;
  enterState(SERVICE_STOP_PENDING, kStopWaitHintMs);
  // Signalled before the report: the stop is under way even when the manager keeps us waiting.
  if (const HANDLE event = serviceStopEvent; event != nullptr) {
    (void)SetEvent(event);  // Fails only when the service has come down meanwhile.
  }
  report();
}

void ServiceHost::enterState(DWORD state) {
  std::atomic_ref(serviceStatus.dwCurrentState).store(state);
}

void ServiceHost::enterState(DWORD state, DWORD waitHintMs) {
  enterState(state);
  std::atomic_ref(serviceStatus.dwWaitHint).store(waitHintMs);
}

void ServiceHost::report() {
  SERVICE_STATUS copy = {};
  copy.dwServiceType = serviceStatus.dwServiceType;
  copy.dwCurrentState = std::atomic_ref(serviceStatus.dwCurrentState).load();
  copy.dwControlsAccepted = serviceStatus.dwControlsAccepted;
  copy.dwWin32ExitCode = serviceStatus.dwWin32ExitCode;
  copy.dwServiceSpecificExitCode = serviceStatus.dwServiceSpecificExitCode;
  copy.dwCheckPoint = serviceStatus.dwCheckPoint;
  copy.dwWaitHint = std::atomic_ref(serviceStatus.dwWaitHint).load();
  // A manager that cannot be told is one that is ending itself.
  (void)SetServiceStatus(serviceStatusHandle, &copy);
}

}  // namespace orva_accelerator::service
