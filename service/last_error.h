// How the service-management operations turn a failed call into their result.
#pragma once

#include <windows.h>

namespace orva_accelerator::service {

// To be called right after the failed call: its error code, or `ownCode` when it left none, so
// that a failure never reads as success.
inline int lastErrorOr(int ownCode) {
  const DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? static_cast<int>(error) : ownCode;
}

}  // namespace orva_accelerator::service
