#include "service/crash_dialogs.h"

#include <windows.h>

#include <cstdlib>

namespace orva_accelerator::service {

void suppressCrashDialogs() {
  // std::terminate calls abort. The C runtime that is part of Windows raises a fatal exception in
  // it, which brings up the error reporting dialog unless this flag is set; so do plain faults.
  (void)SetErrorMode(GetErrorMode() | SEM_NOGPFAULTERRORBOX);  // Returns the previous mode.
#if defined(_MSC_VER) || defined(_UCRT)
  // The universal C runtime asks for a report by itself and then ends with 0xC0000409, and its
  // debug build shows a message box. Without both, abort ends with 3 as the other runtime does.
  (void)_set_abort_behavior(0, _WRITE_ABORT_MSG | _CALL_REPORTFAULT);  // Returns the old flags.
#endif
}

}  // namespace orva_accelerator::service
