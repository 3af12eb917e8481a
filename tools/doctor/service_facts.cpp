#include "tools/doctor/service_facts.h"

#include "client/process_watch.h"
#include "tools/doctor/registered_path.h"
#include "win32/executable_path.h"
#include "win32/service_access.h"

namespace orva_accelerator::tools {
namespace {

std::wstring textOrEmpty(const wchar_t* text) {
  return text == nullptr ? std::wstring() : std::wstring(text);
}

// 0 or why the record cannot be had. `query` takes a buffer, its size and where to put the needed
// size.
template <typename Query>
DWORD queryRecord(Query query, std::vector<std::uint8_t>& record) {
  DWORD needed = 0;
  if (!query(nullptr, 0, &needed)) {
    const DWORD code = GetLastError();
    if (code != ERROR_INSUFFICIENT_BUFFER) return code;
  }
  record.resize(needed);
  if (!query(record.data(), needed, &needed)) {
    const DWORD code = GetLastError();
    record.clear();
    return code;
  }
  return 0;
}

class Gatherer {
 public:
  Gatherer(const std::wstring& name, ServiceFacts& facts) : name_(name), facts_(facts) {}

  void gather() {
    const auto service = open(SERVICE_QUERY_STATUS, facts_.openError);
    if (facts_.openError == ERROR_ACCESS_DENIED) {
      // It is there; this account may not ask about its state.
      facts_.statusError = facts_.openError;
      facts_.openError = 0;
    } else if (facts_.openError == 0) {
      readStatus(service.get());
    }
    if (!facts_.registered()) return;
    readConfig();
    readSecurity();
    readDeleteFlag();
  }

 private:
  // With 0 or why it cannot be opened in `error`.
  win32::OpenedService open(DWORD access, DWORD& error) const {
    auto service = win32::openService(name_.c_str(), access);
    error = service ? 0 : GetLastError();
    return service;
  }

  void readStatus(SC_HANDLE service) {
    SERVICE_STATUS_PROCESS status{};
    DWORD needed = 0;
    if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                              sizeof(status), &needed)) {
      facts_.statusError = GetLastError();
      return;
    }
    facts_.status = status;
    facts_.processLives = !client::ProcessWatch(status.dwProcessId).hasEnded();
  }

  void readConfig() {
    const auto service = open(SERVICE_QUERY_CONFIG, facts_.configError);
    if (facts_.configError != 0) return;
    std::vector<std::uint8_t> record;
    facts_.configError = queryRecord(
        [&](BYTE* room, DWORD size, DWORD* needed) {
          return QueryServiceConfigW(service.get(), reinterpret_cast<QUERY_SERVICE_CONFIGW*>(room),
                                     size, needed);
        },
        record);
    if (facts_.configError != 0) return;
    const auto& config = *reinterpret_cast<const QUERY_SERVICE_CONFIGW*>(record.data());
    facts_.config =
        ServiceConfig{textOrEmpty(config.lpBinaryPathName), textOrEmpty(config.lpServiceStartName),
                      config.dwServiceType, config.dwStartType};
  }

  void readSecurity() {
    const auto service = open(READ_CONTROL, facts_.securityError);
    if (facts_.securityError != 0) return;
    facts_.securityError = queryRecord(
        [&](BYTE* room, DWORD size, DWORD* needed) {
          // Some systems want a place even when they only tell the size.
          BYTE nowhere = 0;
          return QueryServiceObjectSecurity(service.get(), DACL_SECURITY_INFORMATION,
                                            room == nullptr ? &nowhere : room, size, needed);
        },
        facts_.security);
  }

  void readDeleteFlag() {
    const std::wstring key = L"SYSTEM\\CurrentControlSet\\Services\\" + name_;
    DWORD flag = 0;
    DWORD size = sizeof(flag);
    const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"DeleteFlag",
                                        RRF_RT_REG_DWORD, nullptr, &flag, &size);
    if (status == ERROR_SUCCESS) facts_.deletePending = flag != 0;
    if (status != ERROR_FILE_NOT_FOUND) return;
    // No such value, or no such key: the manager knows a service that is written down nowhere.
    size = 0;
    const LSTATUS path = RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"ImagePath",
                                      RRF_RT_ANY | RRF_NOEXPAND, nullptr, nullptr, &size);
    facts_.deletePending = path == ERROR_FILE_NOT_FOUND;
  }

  const std::wstring& name_;
  ServiceFacts& facts_;
};

}  // namespace

ServiceFacts gatherServiceFacts(const std::wstring& serviceName) {
  ServiceFacts facts;
  Gatherer(serviceName, facts).gather();
  facts.toolFile = win32::ownExecutablePath().value_or(L"orvactl.exe");
  facts.serviceFile = folderOf(facts.toolFile) + L"\\OrvaAcceleratorService.exe";
  if (facts.config) {
    const std::wstring registered = parseRegisteredPath(facts.config->path).file;
    if (GetFileAttributesW(registered.c_str()) != INVALID_FILE_ATTRIBUTES) {
      facts.serviceFile = registered;
    }
  }
  return facts;
}

bool runsUnderWine() {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

}  // namespace orva_accelerator::tools
