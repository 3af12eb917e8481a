// The smallest service that there can be: it connects to the dispatcher, reports that it runs, and
// waits to be stopped. What the product's start and idle state cost more than its own is the
// product's doing.
#include <windows.h>

namespace {

SERVICE_STATUS_HANDLE statusHandle = nullptr;
HANDLE stopEvent = nullptr;

void report(DWORD state) {
  SERVICE_STATUS status = {};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
  // Whoever measures notices when it is not told.
  (void)SetServiceStatus(statusHandle, &status);
}

void WINAPI handleControl(DWORD control) {
  if (control != SERVICE_CONTROL_STOP) return;
  report(SERVICE_STOP_PENDING);
  // Fails only for what is not an event.
  (void)SetEvent(stopEvent);
}

void WINAPI serviceMain(DWORD /*argc*/, LPWSTR* /*argv*/) {
  statusHandle = RegisterServiceCtrlHandlerW(L"OrvaBenchEmpty", handleControl);
  stopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (statusHandle == nullptr || stopEvent == nullptr) return;
  report(SERVICE_RUNNING);
  // For ever: nothing else ends it.
  (void)WaitForSingleObject(stopEvent, INFINITE);
  report(SERVICE_STOPPED);
}

}  // namespace

extern "C" int wmain(int /*argc*/, wchar_t* /*argv*/[]) {
  wchar_t name[] = L"OrvaBenchEmpty";
  const SERVICE_TABLE_ENTRYW table[] = {{name, serviceMain}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
