#include "tests/support/process_start.h"

namespace orva_accelerator::test {

DWORD startProcess(const std::wstring& program, std::wstring line, DWORD flags,
                   const std::wstring& folder, STARTUPINFOW& startup,
                   PROCESS_INFORMATION& started) {
  const BOOL inherits = (startup.dwFlags & STARTF_USESTDHANDLES) != 0;
  const wchar_t* const where = folder.empty() ? nullptr : folder.c_str();
  DWORD error = 0;
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, inherits, flags, nullptr,
                       where, &startup, &started)) {
      return 0;
    }
    error = GetLastError();
    if (error != ERROR_INTERNAL_ERROR) break;
  }
  return error;
}

}  // namespace orva_accelerator::test
