// Listening on a pipe: who may open it, and one turn of an accept loop. Both pipes do the same.
#pragma once

#include <windows.h>

#include <string>

#include "win32/unique_handle.h"

namespace orva_accelerator::ipc {

// D:            a discretionary list, and nothing about owner or auditing
// (A;;          allow
//    GRGW       generic read and generic write: open for reading and writing, which on a pipe
//               includes creating further instances of it
//        ;;;AU) Authenticated Users: whoever is signed in, not anonymous or guest sessions
inline constexpr wchar_t kPipeSecurity[] = L"D:(A;;GRGW;;;AU)";

// The process-wide attributes with a freshly built descriptor, or null when it cannot be built.
//
// Each call frees the descriptor of the call before. Both accept loops call this once when they
// begin and then share the one record: the descriptor that the first loop was handed is gone when
// the second has begun, and both use the second. createSecuredPipe keeps a loop from reading the
// record while the other loop's call is replacing what it points to.
SECURITY_ATTRIBUTES* buildPipeSecurity();

// One new instance of a duplex, blocking message pipe with that record, or none with the last error
// set: also when the latest call of buildPipeSecurity has failed.
win32::UniqueFileHandle createSecuredPipe(const std::wstring& name);

// Creates an instance of the pipe and blocks until a client has connected to it. None when this
// turn failed: at once when the connection failed or came from another computer, after a second
// when no instance could be created.
win32::UniqueFileHandle acceptPipeClient(const std::wstring& name);

}  // namespace orva_accelerator::ipc
