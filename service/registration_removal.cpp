#include "service/registration.h"
#include "service/service_identity.h"
#include "win32/service_access.h"

namespace orva_accelerator::service {

namespace {

constexpr int kNotOpened = -1;
constexpr int kNotDeleted = -3;

constexpr int kStopPolls = 20;
constexpr DWORD kStopPollMs = 500;

// Waits for a service that took the stop control and has not ended yet; at most 10 seconds.
//
// The handle was opened without the right to query, so where rights are enforced every question
// fails and the whole time passes, however soon the service ends. A service that is going down is
// given that time.
void waitUntilStopped(SC_HANDLE service) {
  for (int poll = 0; poll < kStopPolls; ++poll) {
    Sleep(kStopPollMs);
    SERVICE_STATUS status = {};
    if (QueryServiceStatus(service, &status) && status.dwCurrentState == SERVICE_STOPPED) return;
  }
}

}  // namespace

int uninstallService() {
  win32::OpenedService service = win32::openService(kServiceName, DELETE | SERVICE_STOP);
  // Leaves the last error of a failed open alone.
  service.manager.reset();
  if (!service) return lastErrorOr(kNotOpened);

  SERVICE_STATUS status = {};
  const bool stopSent = ControlService(service.get(), SERVICE_CONTROL_STOP, &status) != FALSE;
  // A failed control mostly means that the service is not running: deletion follows at once.
  if (stopSent &&
      (status.dwCurrentState == SERVICE_STOP_PENDING || status.dwCurrentState == SERVICE_RUNNING)) {
    waitUntilStopped(service.get());
  }
  return DeleteService(service.get()) ? 0 : lastErrorOr(kNotDeleted);
}

}  // namespace orva_accelerator::service
