// Starting a program where one start in some ten thousands is refused without a reason.
#pragma once

#include <windows.h>

#include <string>

namespace orva_accelerator::test {

// CreateProcessW with `program`, `line` as its whole command line, and what the others say; handles
// marked for it are inherited where `startup` has some for the child. Wine's internal error is
// tried again, up to twice: the next start succeeds. Gives 0, with the caller owning both handles
// in `started`, or the error.
[[nodiscard]] DWORD startProcess(const std::wstring& program, std::wstring line, DWORD flags,
                                 const std::wstring& folder, STARTUPINFOW& startup,
                                 PROCESS_INFORMATION& started);

}  // namespace orva_accelerator::test
