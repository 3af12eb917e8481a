#include "win32/service_access.h"

namespace orva_accelerator::win32 {

UniqueServiceHandle openServiceManager(DWORD access) {
  return UniqueServiceHandle(OpenSCManagerW(nullptr, nullptr, access));
}

OpenedService openService(const wchar_t* name, DWORD access) {
  OpenedService opened;
  opened.manager = openServiceManager();
  if (opened.manager) opened.service.reset(OpenServiceW(opened.manager.get(), name, access));
  return opened;
}

}  // namespace orva_accelerator::win32
