#include "client/server_process.h"

#include <string>

#include "win32/unique_handle.h"

namespace orva_accelerator::client {
namespace {

constexpr char kStep[] = "check who serves the pipe";

Error System(const char* text, DWORD code) {
  return Error{ErrorKind::System, kStep, code, text};
}

Result<DWORD> ServiceProcessId(const wchar_t* serviceName) {
  const win32::UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) {
    const DWORD code = GetLastError();
    return System("the service control manager cannot be reached", code);
  }
  const win32::UniqueServiceHandle service(
      OpenServiceW(manager.get(), serviceName, SERVICE_QUERY_STATUS));
  if (!service) {
    const DWORD code = GetLastError();
    if (code == ERROR_SERVICE_DOES_NOT_EXIST) {
      return Error{ErrorKind::NoService, kStep, code, "the service is not installed"};
    }
    return System("the service cannot be queried", code);
  }
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  if (!QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            sizeof(status), &needed)) {
    const DWORD code = GetLastError();
    return System("the service's status cannot be read", code);
  }
  return status.dwProcessId;
}

}  // namespace

Result<Done> CheckServedByService(HANDLE pipe, const wchar_t* serviceName) {
  ULONG server = 0;
  if (!GetNamedPipeServerProcessId(pipe, &server)) {
    const DWORD code = GetLastError();
    return System("the pipe does not tell its server", code);
  }
  auto service = ServiceProcessId(serviceName);
  if (!service) return service.error();
  if (service.value() == 0) {
    return Error{
        ErrorKind::NoService, kStep, 0,
        "the service is not running, yet process " + std::to_string(server) + " serves its pipe"};
  }
  if (service.value() != server) {
    return Error{ErrorKind::NoService, kStep, 0,
                 "process " + std::to_string(server) +
                     " serves the pipe, but the service is process " +
                     std::to_string(service.value())};
  }
  return Done{};
}

}  // namespace orva_accelerator::client
