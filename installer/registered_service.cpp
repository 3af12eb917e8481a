#include "installer/registered_service.h"

#include <algorithm>
#include <vector>

#include "installer/process_list.h"
#include "installer/shadowing_programs.h"
#include "service/shared_names.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::installer {

namespace {

using win32::UniqueKernelHandle;
using win32::UniqueServiceHandle;

constexpr DWORD kPollMs = 100;
// One stop request is enough, unless it came too early in the start.
constexpr DWORD kBetweenRequestsMs = 1000;
// Where the state before an installation is written down.
constexpr wchar_t kStateKey[] = L"SOFTWARE\\OrvaAcceleratorService";
constexpr wchar_t kStartTypeValue[] = L"SetupStartType";
constexpr wchar_t kRunsValue[] = L"SetupRuns";

UniqueServiceHandle openService(DWORD access) {
  const UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return {};
  return UniqueServiceHandle(OpenServiceW(manager.get(), service::kServiceName, access));
}

std::optional<DWORD> storedNumber(const wchar_t* name) {
  DWORD value = 0;
  DWORD size = sizeof value;
  const LSTATUS status =
      RegGetValueW(HKEY_LOCAL_MACHINE, kStateKey, name, RRF_RT_REG_DWORD | RRF_SUBKEY_WOW6464KEY,
                   nullptr, &value, &size);
  if (status != ERROR_SUCCESS) return std::nullopt;
  return value;
}

DWORD storeState(const RegisteredService& service) {
  HKEY key = nullptr;
  LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kStateKey, 0, nullptr, 0,
                                   KEY_SET_VALUE | KEY_WOW64_64KEY, nullptr, &key, nullptr);
  if (status != ERROR_SUCCESS) return static_cast<DWORD>(status);
  const DWORD runs = service.runs ? 1 : 0;
  status = RegSetValueExW(key, kStartTypeValue, 0, REG_DWORD,
                          reinterpret_cast<const BYTE*>(&service.startType), sizeof(DWORD));
  if (status == ERROR_SUCCESS) {
    status = RegSetValueExW(key, kRunsValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&runs),
                            sizeof(DWORD));
  }
  // Fails only for a key that is not open.
  (void)RegCloseKey(key);
  return static_cast<DWORD>(status);
}

std::wstring plainPath(std::wstring path) {
  if (path.starts_with(L"\\\\?\\")) path.erase(0, 4);
  if (path.size() >= 2 && path.front() == L'"') path = path.substr(1, path.find(L'"', 1) - 1);
  return path;
}

// Empty when the registration cannot be read.
std::wstring registeredPath(SC_HANDLE service, DWORD& startType) {
  DWORD size = 0;
  // Fails, and tells the size.
  (void)QueryServiceConfigW(service, nullptr, 0, &size);
  std::vector<BYTE> buffer(size);
  auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
  if (size == 0 || !QueryServiceConfigW(service, config, size, &size)) return {};
  startType = config->dwStartType;
  return plainPath(config->lpBinaryPathName);
}

// Whether a process executes what is registered. A service that has ended without reporting it may
// leave its process id with the manager, and another process may have that id by now.
bool executes(HANDLE process, const std::wstring& path) {
  const std::wstring image = imagePath(process);
  return isSameName(image, path) ||
         std::ranges::any_of(shadowingPaths(path), [&](const std::wstring& program) {
           return isSameName(image, program);
         });
}

// The process that the manager names, while it has not ended; none otherwise.
UniqueKernelHandle processOf(SC_HANDLE service) {
  SERVICE_STATUS_PROCESS status = {};
  DWORD size = 0;
  if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            sizeof status, &size) ||
      status.dwProcessId == 0) {
    return {};
  }
  UniqueKernelHandle process(
      OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, status.dwProcessId));
  if (!process || WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0) {
    return {};
  }
  DWORD ignored = 0;
  if (!executes(process.get(), registeredPath(service, ignored))) return {};
  return process;
}

DWORD changeStartType(SC_HANDLE service, DWORD startType) {
  if (ChangeServiceConfigW(service, SERVICE_NO_CHANGE, startType, SERVICE_NO_CHANGE, nullptr,
                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)) {
    return 0;
  }
  return GetLastError();
}

}  // namespace

std::optional<RegisteredService> registeredService(DWORD& error) {
  const UniqueServiceHandle service = openService(SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS);
  error = service ? 0 : GetLastError();
  if (error == ERROR_SERVICE_DOES_NOT_EXIST) error = 0;
  if (!service) return std::nullopt;
  RegisteredService result;
  result.path = registeredPath(service.get(), result.startType);
  result.runs = static_cast<bool>(processOf(service.get()));
  if (const auto startType = storedNumber(kStartTypeValue)) result.startType = *startType;
  if (const auto runs = storedNumber(kRunsValue)) result.runs = result.runs || *runs != 0;
  return result;
}

DWORD disableService(const RegisteredService& before, DWORD limitMs) {
  const UniqueServiceHandle service = openService(SERVICE_CHANGE_CONFIG);
  if (!service) {
    const DWORD error = GetLastError();
    return error == ERROR_SERVICE_DOES_NOT_EXIST ? 0 : error;
  }
  if (const DWORD error = storeState(before)) return error;
  const ULONGLONG deadline = GetTickCount64() + limitMs;
  DWORD error = changeStartType(service.get(), SERVICE_DISABLED);
  while (error == ERROR_SERVICE_MARKED_FOR_DELETE && GetTickCount64() < deadline) {
    Sleep(kPollMs);
    error = changeStartType(service.get(), SERVICE_DISABLED);
  }
  return error;
}

bool stopService(DWORD limitMs) {
  const UniqueServiceHandle service =
      openService(SERVICE_STOP | SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG);
  if (!service) return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST;
  const ULONGLONG deadline = GetTickCount64() + limitMs;
  while (const UniqueKernelHandle process = processOf(service.get())) {
    if (GetTickCount64() >= deadline) return false;
    SERVICE_STATUS status = {};
    // Fails when it is just starting, or ends before the answer: the process tells.
    (void)ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
    // Whether it has ended is asked above.
    (void)WaitForSingleObject(process.get(), kBetweenRequestsMs);
  }
  return true;
}

DWORD restoreService(const RegisteredService& before) {
  const UniqueServiceHandle service = openService(SERVICE_CHANGE_CONFIG | SERVICE_START);
  if (!service) {
    const DWORD error = GetLastError();
    return error == ERROR_SERVICE_DOES_NOT_EXIST ? 0 : error;
  }
  if (const DWORD error = changeStartType(service.get(), before.startType)) return error;
  forgetState();
  if (!before.runs || StartServiceW(service.get(), 0, nullptr)) return 0;
  const DWORD error = GetLastError();
  // Somebody was quicker.
  return error == ERROR_SERVICE_ALREADY_RUNNING ? 0 : error;
}

DWORD deleteRegistration() {
  const UniqueServiceHandle service = openService(DELETE);
  if (service && DeleteService(service.get())) return 0;
  const DWORD error = GetLastError();
  if (error == ERROR_SERVICE_DOES_NOT_EXIST || error == ERROR_SERVICE_MARKED_FOR_DELETE) return 0;
  return error;
}

DWORD changeRegisteredPath(const std::wstring& path) {
  const UniqueServiceHandle service = openService(SERVICE_CHANGE_CONFIG);
  if (service &&
      ChangeServiceConfigW(service.get(), SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                           path.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)) {
    return 0;
  }
  return GetLastError();
}

void forgetState() {
  // Is absent in most cases; when it cannot be deleted, a later installation only reads it.
  (void)RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kStateKey, KEY_WOW64_64KEY, 0);
}

}  // namespace orva_accelerator::installer
