#include "installer/command_word.h"

#include "win32/unique_handle.h"

namespace orva_accelerator::installer {

std::optional<DWORD> runCommandWord(const std::wstring& program, const std::wstring& word,
                                    DWORD limitMs) {
  std::wstring line = L"\"" + program + L"\" " + word;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started = {};
  // The program by its full path as well, so that no part of it is taken for a name.
  if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                      nullptr, nullptr, &startup, &started)) {
    return std::nullopt;
  }
  const win32::UniqueKernelHandle process(started.hProcess);
  const win32::UniqueKernelHandle thread(started.hThread);
  if (WaitForSingleObject(process.get(), limitMs) != WAIT_OBJECT_0) {
    // It may have ended by itself just now.
    (void)TerminateProcess(process.get(), 1);
    return std::nullopt;
  }
  DWORD code = 0;
  if (!GetExitCodeProcess(process.get(), &code)) return std::nullopt;
  return code;
}

}  // namespace orva_accelerator::installer
