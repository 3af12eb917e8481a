// Who may open the service's pipes.
#pragma once

#include <windows.h>

#include <string>

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

// One new instance of a duplex, blocking message pipe, or INVALID_HANDLE_VALUE with the last error
// set. `security` is what buildPipeSecurity returned; the caller closes the handle. Fails when a
// later call of buildPipeSecurity has failed: a pipe without that descriptor is never made.
HANDLE createSecuredPipe(const std::wstring& name, SECURITY_ATTRIBUTES* security);

}  // namespace orva_accelerator::ipc
