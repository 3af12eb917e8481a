// Where the running executable lies.
#pragma once

#include <optional>
#include <string>

namespace orva_accelerator::win32 {

// The full path, cut without notice at 259 characters; the service is not offered for longer
// paths. Nothing when the system does not tell.
std::optional<std::wstring> ownExecutablePath();

}  // namespace orva_accelerator::win32
