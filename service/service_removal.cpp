#include "service/last_error.h"
#include "service/service_identity.h"
#include "service/service_installer.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::service {

namespace {

using win32::UniqueServiceHandle;

constexpr int kNotOpened = -1;
constexpr int kNotDeleted = -3;

constexpr int kStopPolls = 20;
constexpr DWORD kStopPollMs = 500;

// Waits for a service that took the stop control and has not ended yet; at most 10 seconds.
void waitUntilStopped(SC_HANDLE service) {
  for (int poll = 0; poll < kStopPolls; ++poll) {
    Sleep(kStopPollMs);
    SERVICE_STATUS status = {};
    // The handle was opened without the right to query. Where that is enforced every query fails
    // and the whole time passes, which a stopping service is given anyway.
    if (QueryServiceStatus(service, &status) && status.dwCurrentState == SERVICE_STOPPED) return;
  }
}

}  // namespace

int uninstallService() {
  UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return lastErrorOr(kNotOpened);
  const UniqueServiceHandle service(
      OpenServiceW(manager.get(), kServiceName, DELETE | SERVICE_STOP));
  manager.reset();  // Leaves the last error of a failed open alone.
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
