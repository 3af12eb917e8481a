#include "client/server_process.h"

#include "client/service_errors.h"
#include "win32/service_access.h"

namespace orva_accelerator::client {
namespace {

constexpr char kStep[] = "check who serves the pipe";

Error systemError(const char* text, DWORD code) {
  return Error{ErrorKind::System, kStep, code, text};
}

Error another(const std::string& text) {
  return Error{ErrorKind::NotTheService, kStep, 0, text};
}

// Windows keeps session 0 for services. Wine runs everything in one session.
DWORD sessionOfServices() {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  DWORD session = 0;
  if (ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr) {
    // Failing, it leaves the strict answer.
    (void)ProcessIdToSessionId(GetCurrentProcessId(), &session);
  }
  return session;
}

}  // namespace

Result<ServiceProcess> findServiceProcess(const std::wstring& serviceName) {
  const auto service = win32::openService(serviceName.c_str(), SERVICE_QUERY_STATUS);
  if (!service) {
    const DWORD code = GetLastError();
    if (!service.manager) return systemError("the service control manager cannot be reached", code);
    if (code == ERROR_SERVICE_DOES_NOT_EXIST) return serviceError(kStep, code);
    return systemError("the service cannot be queried", code);
  }
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  if (!QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            sizeof(status), &needed)) {
    const DWORD code = GetLastError();
    return systemError("the service's status cannot be read", code);
  }
  return ServiceProcess{status.dwProcessId, status.dwCurrentState == SERVICE_START_PENDING};
}

Result<Done> checkServer(HANDLE pipe, std::uint32_t serviceProcess) {
  ULONG server = 0;
  if (!GetNamedPipeServerProcessId(pipe, &server)) {
    const DWORD code = GetLastError();
    return systemError("the pipe does not tell its server", code);
  }
  if (server != serviceProcess) {
    return another("process " + std::to_string(server) +
                   " serves the pipe, but the service is process " +
                   std::to_string(serviceProcess));
  }
  ULONG session = 0;
  if (!GetNamedPipeServerSessionId(pipe, &session)) {
    const DWORD code = GetLastError();
    return systemError("the pipe does not tell its server's session", code);
  }
  if (session != sessionOfServices()) {
    return another("the pipe was created in session " + std::to_string(session) +
                   ", where no service runs");
  }
  return Done{};
}

}  // namespace orva_accelerator::client
