// Opening services of this computer.
#pragma once

#include <windows.h>

#include "win32/unique_handle.h"

namespace orva_accelerator::win32 {

// Null, with the reason as last error, when the service control manager refuses.
UniqueServiceHandle openServiceManager(DWORD access = SC_MANAGER_CONNECT);

// A service, and the manager through which it was opened, which is closed after it. Where the
// manager cannot be opened both are null, where the service cannot only that is; either way the
// reason is the last error.
struct OpenedService {
  UniqueServiceHandle manager;
  UniqueServiceHandle service;

  explicit operator bool() const noexcept { return static_cast<bool>(service); }
  SC_HANDLE get() const noexcept { return service.get(); }
};
OpenedService openService(const wchar_t* name, DWORD access);

}  // namespace orva_accelerator::win32
