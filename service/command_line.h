// What the executable does, chosen by its first argument.
#pragma once

namespace orva_accelerator::service {

// argv[1] may be one of "install", "uninstall", "reinstall", "update", matched exactly; further
// arguments are ignored. Anything else, or nothing, connects to the service control manager and
// runs the service; that returns when the service has ended (0) or when nobody started us as a
// service (1).
//
// Returns the process's exit code; for a command word that is the result of its operation, see
// registration.h, or 1 when the executable's own path cannot be had.
int runCommandLine(int argc, const wchar_t* const* argv);

// Why updateServicePath failed, in words.
const wchar_t* updateFailureReason(int result);

// Wide formatted printing on standard output, unchanged. A wide text is "%ls" in `format`: what
// "%s" means there depends on the compiler's library.
void printMessage(const wchar_t* format, ...);

}  // namespace orva_accelerator::service
