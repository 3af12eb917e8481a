// One turn of an accept loop; both pipes are listened on in the same way.
#pragma once

#include <windows.h>

#include <string>

namespace orva_accelerator::ipc {

// Creates an instance of the pipe and blocks until a client has connected to it. Returns the
// server's end, which the caller closes, or INVALID_HANDLE_VALUE when this turn failed: at once
// when the connection failed, after a second when no instance could be created.
HANDLE acceptPipeClient(const std::wstring& name, SECURITY_ATTRIBUTES* security);

}  // namespace orva_accelerator::ipc
