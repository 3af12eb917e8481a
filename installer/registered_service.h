// The registered service during an installation: stopped, kept from starting, set going again.
//
// Only the process that the service manager names counts as the service. Any program may call
// itself by the service's name, and nobody is to be able to block an installation with one.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace orva_accelerator::installer {

struct RegisteredService {
  std::wstring path;  // as registered, without quotation marks and \\?\ prefix
  DWORD startType = SERVICE_DEMAND_START;
  bool runs = false;
};

// Reads the registration. Nothing, with `error` 0, when there is none; with `error` set when the
// manager refuses to tell. While an installation was broken off, start type and `runs` are those
// from before it.
std::optional<RegisteredService> registeredService(DWORD& error);

// Keeps everybody from starting the service, by disabling it, and writes down what the service was
// `before`, so that a later installation can restore it if this one is broken off. Returns 0, or
// the error. A registration that is marked for deletion refuses (1072) until the last window that
// shows it is closed: tried again for `limitMs`.
DWORD disableService(const RegisteredService& before, DWORD limitMs);

// Asks the service to stop and waits for the end of its process: the state that the manager knows
// says little, because the service ends without reporting it. False when the process is there after
// `limitMs`; it is not ended by force, because it may be taking an acceleration down.
bool stopService(DWORD limitMs);

// Undoes disableService, and starts the service if it ran. Returns 0, or the first error.
DWORD restoreService(const RegisteredService& before);

// Deletes the registration; needs no executable. 0 also when there is none or it is being deleted.
DWORD deleteRegistration();

// Points the registration to another program. Returns 0 or the error.
DWORD changeRegisteredPath(const std::wstring& path);

// Forgets what disableService has written down.
void forgetState();

}  // namespace orva_accelerator::installer
