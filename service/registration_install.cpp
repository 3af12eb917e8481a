#include "service/registration.h"

#include <sddl.h>

#include <string_view>

#include "service/service_identity.h"
#include "win32/service_access.h"
#include "win32/utf8.h"

namespace orva_accelerator::service {

namespace {

using win32::UniqueLocalMemory;
using win32::UniqueServiceHandle;

constexpr int kPathDoesNotExist = -1;
constexpr int kManagerNotOpened = -2;
constexpr int kNotCreated = -3;
constexpr int kExistingNotOpened = -4;
constexpr int kSecurityNotConverted = -5;
constexpr int kSecurityNotApplied = -6;

constexpr int kGonePolls = 10;
constexpr DWORD kGonePollMs = 500;

// 0 with `service` open, or the result of the installation.
int createOrAdopt(SC_HANDLE manager, const std::wstring& binaryPath, UniqueServiceHandle& service) {
  // The path goes in as it is, without quotes: updating compares it with the plain path.
  service.reset(CreateServiceW(manager, kServiceName, kServiceDisplayName, SERVICE_ALL_ACCESS,
                               SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                               SERVICE_ERROR_NORMAL, binaryPath.c_str(), nullptr, nullptr, nullptr,
                               nullptr, nullptr));
  if (service) return 0;
  const int error = lastErrorOr(kNotCreated);
  if (error != ERROR_SERVICE_EXISTS) return error;

  service.reset(OpenServiceW(manager, kServiceName, SERVICE_ALL_ACCESS));
  return service ? 0 : lastErrorOr(kExistingNotOpened);
}

// 0 or the result of the installation, except that a refusal by the manager is only told through
// `applied`: the description is written all the same.
int applySecurity(SC_HANDLE service, bool& applied) {
  PSECURITY_DESCRIPTOR converted = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(kServiceSecurity, SDDL_REVISION_1,
                                                            &converted, nullptr)) {
    return kSecurityNotConverted;
  }
  const UniqueLocalMemory descriptor(converted);
  applied = SetServiceObjectSecurity(service, DACL_SECURITY_INFORMATION, descriptor.get()) != FALSE;
  return 0;
}

void writeDescription(SC_HANDLE service) {
  // Converted together with its terminator, and empty when it cannot be converted.
  const std::string_view utf8(kServiceDescriptionUtf8, sizeof(kServiceDescriptionUtf8));
  std::wstring text = win32::wideFromUtf8(utf8).value_or(std::wstring());
  SERVICE_DESCRIPTIONW description = {text.data()};
  // A registration without a description serves as well.
  (void)ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &description);
}

}  // namespace

int installService(const std::wstring& binaryPath) {
  if (GetFileAttributesW(binaryPath.c_str()) == INVALID_FILE_ATTRIBUTES) return kPathDoesNotExist;

  // The service handle is declared after the manager's, so it is closed first.
  const UniqueServiceHandle manager = win32::openServiceManager(SC_MANAGER_CREATE_SERVICE);
  if (!manager) return kManagerNotOpened;
  UniqueServiceHandle service;
  if (const int error = createOrAdopt(manager.get(), binaryPath, service); error != 0) return error;

  bool securityApplied = false;
  if (const int error = applySecurity(service.get(), securityApplied); error != 0) return error;
  writeDescription(service.get());
  return securityApplied ? 0 : kSecurityNotApplied;
}

int reinstallService(const std::wstring& binaryPath) {
  if (isServiceInstalled()) {
    if (const int error = uninstallService(); error != 0) return error;
    // A deleted registration stays until the last handle to it is closed and the service ended;
    // creating it anew fails until then. When it does not go away, that failure is the result.
    for (int poll = 0; poll < kGonePolls; ++poll) {
      Sleep(kGonePollMs);
      if (!isServiceInstalled()) break;
    }
  }
  return installService(binaryPath);
}

}  // namespace orva_accelerator::service
