#include <memory>
#include <string_view>

#include "service/registration.h"
#include "service/service_identity.h"
#include "win32/executable_path.h"
#include "win32/service_access.h"

namespace orva_accelerator::service {

namespace {

constexpr int kNotInstalled = -1;
constexpr int kNotOpened = -2;
constexpr int kNotChanged = -3;
constexpr int kOtherPathRegistered = -4;

struct ReleaseConfig {
  void operator()(QUERY_SERVICE_CONFIGW* config) const { releaseServiceConfig(config); }
};

int changePath(const std::wstring& path) {
  const win32::OpenedService service = win32::openService(kServiceName, SERVICE_CHANGE_CONFIG);
  if (!service) return kNotOpened;
  const BOOL changed =
      ChangeServiceConfigW(service.get(), SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                           path.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  return changed ? 0 : kNotChanged;
}

// The system may register or report either form of the same path.
std::wstring_view withoutLongPathPrefix(std::wstring_view path) {
  constexpr std::wstring_view kPrefix = L"\\\\?\\";
  if (path.starts_with(kPrefix)) path.remove_prefix(kPrefix.size());
  return path;
}

bool samePath(std::wstring_view left, std::wstring_view right) {
  const std::wstring_view a = withoutLongPathPrefix(left);
  const std::wstring_view b = withoutLongPathPrefix(right);
  return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                              static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace

int updateServicePath() {
  if (!isServiceInstalled()) return kNotInstalled;
  // An empty path, should the system not tell ours, is refused by the manager.
  const std::wstring path = win32::ownExecutablePath().value_or(std::wstring());
  if (const int error = changePath(path); error != 0) return error;

  QUERY_SERVICE_CONFIGW* queried = nullptr;
  // The change itself succeeded: not being allowed to read it back is no reason to report failure.
  if (!queryServiceConfig(queried)) return 0;
  const std::unique_ptr<QUERY_SERVICE_CONFIGW, ReleaseConfig> config(queried);
  const wchar_t* registered = config->lpBinaryPathName;
  return samePath(registered != nullptr ? registered : L"", path) ? 0 : kOtherPathRegistered;
}

}  // namespace orva_accelerator::service
