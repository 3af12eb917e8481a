// The service's registration with the service control manager: creating, adopting, reading,
// re-pointing and removing it. Nothing here starts the service.
//
// Operations return 0 for success, a positive Win32 error code of the call that failed, or one of
// their own negative codes, listed with each. An own code that stands for a failed call is
// returned only when that call left no error code. The result becomes the process's exit code.
//
// Every call needs the rights that it asks the manager for, in practice an elevated process. None
// may run beside another in the same process; `Sleep` is used to wait.
#pragma once

#include <windows.h>

#include <string>

namespace orva_accelerator::service {

// Registers the executable, to be started on demand as LocalSystem; an existing registration is
// adopted: its path, start type and account stay as they are. Either way sets security and
// description.
//
// -1: `binaryPath` does not exist; the manager has not been asked for anything.
// -2: the manager cannot be opened, whatever the error.
// -3: creation failed.  -4: the existing registration cannot be opened.
// -5: the security text cannot be converted.  -6: the security cannot be applied; the registration
// and its description are there nevertheless.
int installService(const std::wstring& binaryPath);

// True when the service can be opened and its status queried. Also true for a registration that is
// marked for deletion while somebody holds it open.
bool isServiceInstalled();

// Reads the registered configuration. On success `config` points at a block that holds the record
// and its texts, and that the caller hands to releaseServiceConfig; otherwise `config` is null.
bool queryServiceConfig(QUERY_SERVICE_CONFIGW*& config);

// Null is allowed.
void releaseServiceConfig(QUERY_SERVICE_CONFIGW* config);

// Removes an existing registration as uninstallService does and with its results, waits at most
// 5 seconds until it is gone, then installs anew, gone or not, with installService's results.
int reinstallService(const std::wstring& binaryPath);

// Stops the service, waits at most 10 seconds, and deletes the registration whether or not the
// service has stopped by then; the manager removes it when the service ends. For a service that
// runs, the wait takes the whole 10 seconds on Windows: the right to query the status is not asked
// for, so no question is answered.
//
// -1: the manager or the service cannot be opened.  -3: deletion failed.
int uninstallService();

// Points the registration at the running executable and verifies that it took.
//
// -1: not installed.  -2: the manager or the service cannot be opened.  -3: the change failed.
// -4: the registration names another path afterwards. Never a Win32 error code.
int updateServicePath();

// The result for the call that has just failed: its error code, or `ownCode` when it left none, so
// that a failure never reads as success.
inline int lastErrorOr(int ownCode) {
  const DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? static_cast<int>(error) : ownCode;
}

}  // namespace orva_accelerator::service
