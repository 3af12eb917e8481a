#include "tests/service/fake_service_manager.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace orva_accelerator::service::test {

namespace {

// An error that nobody expects: it must never come out of an operation.
constexpr DWORD kDisturbance = 54'321;

std::string hex(DWORD value) {
  char text[16] = {};
  (void)std::snprintf(text, sizeof text, "0x%lX", value);  // Ten characters at most.
  return text;
}

std::string quoted(const wchar_t* text) {
  if (text == nullptr) return "null";
  const int length = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(length), '\0');
  (void)WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), length, nullptr, nullptr);
  narrow.pop_back();  // The terminator.
  return '"' + narrow + '"';
}

std::string nullOr(const void* pointer, const char* otherwise) {
  return pointer == nullptr ? "null" : otherwise;
}

}  // namespace

FakeServiceManager::FakeServiceManager() {
  answerManagerCalls();
  answerServiceCalls();
  answerConfigurationCalls();
  answerSecurityCalls();
  answerOtherCalls();
}

void FakeServiceManager::fail(const std::string& function, DWORD error, int call) {
  failures_[function][call] = error;
}

int FakeServiceManager::count(const std::string& function) const {
  const auto found = counts_.find(function);
  return found == counts_.end() ? 0 : found->second;
}

std::vector<std::string> FakeServiceManager::leaks() const {
  std::vector<std::string> names;
  for (const auto& [handle, name] : handles_) names.push_back(name);
  return names;
}

bool FakeServiceManager::record(const std::string& function,
                                const std::vector<std::string>& arguments) {
  std::string line = function + "(";
  for (std::size_t i = 0; i < arguments.size(); ++i) line += (i == 0 ? "" : ", ") + arguments[i];
  calls_.push_back(line + ")");

  const int call = ++counts_[function];
  const auto& failures = failures_[function];
  const auto failure = failures.find(call);
  if (failure == failures.end()) return true;
  SetLastError(failure->second);
  return false;
}

void* FakeServiceManager::open(const std::string& kind) {
  const int number = ++opened_[kind];
  // Never a real address: whatever follows one of these crashes.
  void* handle = reinterpret_cast<void*>(
      static_cast<std::uintptr_t>(0x100 + handles_.size() * 16 + calls_.size() * 0x1000));
  handles_[handle] = kind + std::to_string(number);
  return handle;
}

void FakeServiceManager::close(void* handle) {
  handles_.erase(handle);
  SetLastError(kDisturbance);
}

std::string FakeServiceManager::nameOf(void* handle) const {
  if (handle == nullptr) return "null";
  const auto found = handles_.find(handle);
  return found == handles_.end() ? "closed handle" : found->second;
}

DWORD FakeServiceManager::nextState() {
  const std::size_t index = std::min(statesAsked_++, states.size() - 1);
  return states[index];
}

void FakeServiceManager::answerManagerCalls() {
  openManager_.replace([this](LPCWSTR machine, LPCWSTR database, DWORD access) -> SC_HANDLE {
    if (!record("OpenSCManagerW", {quoted(machine), quoted(database), hex(access)})) return nullptr;
    return static_cast<SC_HANDLE>(open("manager"));
  });
  openService_.replace([this](SC_HANDLE manager, LPCWSTR name, DWORD access) -> SC_HANDLE {
    if (!record("OpenServiceW", {nameOf(manager), quoted(name), hex(access)})) return nullptr;
    return static_cast<SC_HANDLE>(open("service"));
  });
  createService_.replace([this](SC_HANDLE manager, LPCWSTR name, LPCWSTR displayName, DWORD access,
                                DWORD type, DWORD start, DWORD errorControl, LPCWSTR path,
                                LPCWSTR group, LPDWORD tag, LPCWSTR dependencies, LPCWSTR account,
                                LPCWSTR password) -> SC_HANDLE {
    if (!record("CreateServiceW",
                {nameOf(manager), quoted(name), quoted(displayName), hex(access), hex(type),
                 hex(start), hex(errorControl), quoted(path), quoted(group), nullOr(tag, "tag"),
                 quoted(dependencies), quoted(account), quoted(password)})) {
      return nullptr;
    }
    return static_cast<SC_HANDLE>(open("service"));
  });
  closeHandle_.replace([this](SC_HANDLE handle) -> BOOL {
    (void)record("CloseServiceHandle", {nameOf(handle)});  // Its result matters to nobody.
    close(handle);
    return TRUE;
  });
}

void FakeServiceManager::answerServiceCalls() {
  deleteService_.replace(
      [this](SC_HANDLE service) -> BOOL { return record("DeleteService", {nameOf(service)}); });
  controlService_.replace(
      [this](SC_HANDLE service, DWORD control, LPSERVICE_STATUS status) -> BOOL {
        status->dwCurrentState = stateAfterStop;  // Also when it fails, as the system does.
        return record("ControlService", {nameOf(service), hex(control)});
      });
  queryStatus_.replace([this](SC_HANDLE service, LPSERVICE_STATUS status) -> BOOL {
    const DWORD state = nextState();
    if (!record("QueryServiceStatus", {nameOf(service)})) return FALSE;
    status->dwCurrentState = state;
    return TRUE;
  });
}

void FakeServiceManager::answerConfigurationCalls() {
  queryConfig_.replace([this](SC_HANDLE service, QUERY_SERVICE_CONFIGW* config, DWORD size,
                              LPDWORD needed) -> BOOL {
    const bool sizeQuery = config == nullptr;
    if (!sizeQuery) configuration = config;
    const bool answered = record("QueryServiceConfigW", {nameOf(service), nullOr(config, "buffer"),
                                                         sizeQuery ? hex(size) : "size"});
    return answered ? answerConfiguration(config, size, needed) : FALSE;
  });
  changeConfig_.replace([this](SC_HANDLE service, DWORD type, DWORD start, DWORD errorControl,
                               LPCWSTR path, LPCWSTR group, LPDWORD tag, LPCWSTR dependencies,
                               LPCWSTR account, LPCWSTR password, LPCWSTR displayName) -> BOOL {
    return record("ChangeServiceConfigW",
                  {nameOf(service), hex(type), hex(start), hex(errorControl), quoted(path),
                   quoted(group), nullOr(tag, "tag"), quoted(dependencies), quoted(account),
                   quoted(password), quoted(displayName)});
  });
  changeConfig2_.replace([this](SC_HANDLE service, DWORD level, LPVOID information) -> BOOL {
    const auto* description = static_cast<const SERVICE_DESCRIPTIONW*>(information);
    return record("ChangeServiceConfig2W",
                  {nameOf(service), hex(level), quoted(description->lpDescription)});
  });
}

BOOL FakeServiceManager::answerConfiguration(QUERY_SERVICE_CONFIGW* config, DWORD size,
                                             DWORD* needed) {
  const std::size_t pathBytes = (registeredPath.size() + 1) * sizeof(wchar_t);
  // A block of the guarded heap is aligned for a record only if whole records of that alignment
  // fit.
  constexpr std::size_t kAlignment = alignof(QUERY_SERVICE_CONFIGW);
  const std::size_t textRoom = (pathBytes + kAlignment - 1) / kAlignment * kAlignment;
  const auto rightSize = static_cast<DWORD>(sizeof(*config) + textRoom);
  if (config == nullptr) {
    *needed = reportedSize.value_or(rightSize);
    SetLastError(sizeQueryError);
    return sizeQueryError == ERROR_SUCCESS;
  }
  *needed = rightSize;
  if (size < rightSize) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  config->lpBinaryPathName = reinterpret_cast<wchar_t*>(config + 1);
  std::memcpy(config->lpBinaryPathName, registeredPath.c_str(), pathBytes);
  return TRUE;
}

void FakeServiceManager::answerSecurityCalls() {
  convertSecurity_.replace(
      [this](LPCWSTR text, DWORD revision, PSECURITY_DESCRIPTOR* descriptor, PULONG size) -> BOOL {
        if (!record("ConvertStringSecurityDescriptorToSecurityDescriptorW",
                    {quoted(text), hex(revision), nullOr(size, "size")})) {
          return FALSE;
        }
        *descriptor = open("descriptor");
        return TRUE;
      });
  setSecurity_.replace([this](SC_HANDLE service, SECURITY_INFORMATION information,
                              PSECURITY_DESCRIPTOR descriptor) -> BOOL {
    return record("SetServiceObjectSecurity",
                  {nameOf(service), hex(information), nameOf(descriptor)});
  });
  localFree_.replace([this](HLOCAL memory) -> HLOCAL {
    (void)record("LocalFree", {nameOf(memory)});  // Its result matters to nobody.
    close(memory);
    return nullptr;
  });
}

void FakeServiceManager::answerOtherCalls() {
  getFileAttributes_.replace([this](LPCWSTR path) -> DWORD {
    return record("GetFileAttributesW", {quoted(path)}) ? attributes : INVALID_FILE_ATTRIBUTES;
  });
  getModuleFileName_.replace([this](HMODULE module, LPWSTR path, DWORD capacity) -> DWORD {
    if (!record("GetModuleFileNameW", {nullOr(module, "module"), hex(capacity)})) return 0;
    const std::size_t length = std::min<std::size_t>(ownPath.size(), capacity - 1);
    std::copy_n(ownPath.data(), length, path);
    path[length] = L'\0';
    return ownPath.size() < capacity ? static_cast<DWORD>(length) : capacity;
  });
  multiByteToWideChar_.replace(
      [this](UINT codePage, DWORD flags, LPCCH text, int length, LPWSTR wide, int capacity) -> int {
        if (!record("MultiByteToWideChar",
                    {std::to_string(codePage), hex(flags), std::to_string(length),
                     nullOr(wide, "buffer"), std::to_string(capacity)})) {
          return 0;
        }
        return multiByteToWideChar_.callOriginal(codePage, flags, text, length, wide, capacity);
      });
  compareString_.replace(
      [this](LPCWCH left, int leftLength, LPCWCH right, int rightLength, BOOL ignoreCase) -> int {
        const std::wstring leftText(left, static_cast<std::size_t>(leftLength));
        const std::wstring rightText(right, static_cast<std::size_t>(rightLength));
        if (!record("CompareStringOrdinal", {quoted(leftText.c_str()), quoted(rightText.c_str()),
                                             std::to_string(ignoreCase)})) {
          return 0;
        }
        return compareString_.callOriginal(left, leftLength, right, rightLength, ignoreCase);
      });
  sleep_.replace([this](DWORD milliseconds) {
    (void)record("Sleep", {std::to_string(milliseconds)});  // Cannot fail.
  });
}

}  // namespace orva_accelerator::service::test
