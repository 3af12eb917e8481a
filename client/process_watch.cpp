#include "client/process_watch.h"

#include <tlhelp32.h>

namespace orva_accelerator::client {

bool IsListed(std::uint32_t processId) {
  const win32::UniqueFileHandle list(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!list) return true;
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Process32FirstW(list.get(), &entry); more;
       more = Process32NextW(list.get(), &entry)) {
    if (entry.th32ProcessID == processId) return true;
  }
  return GetLastError() != ERROR_NO_MORE_FILES;
}

ProcessWatch::ProcessWatch(std::uint32_t processId) : processId_(processId) {
  if (processId == 0) {
    absent_ = true;
    return;
  }
  // Waiting alone, when that is all that is permitted; the exit code is a courtesy.
  process_.reset(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  if (process_) return;
  const DWORD code = GetLastError();
  if (code == ERROR_INVALID_PARAMETER) {
    absent_ = true;
    return;
  }
  process_.reset(OpenProcess(SYNCHRONIZE, FALSE, processId));  // Without it the list must do.
}

bool ProcessWatch::EndedWithin(std::uint32_t milliseconds) const {
  if (absent_) return true;
  if (process_) return WaitForSingleObject(process_.get(), milliseconds) == WAIT_OBJECT_0;
  if (!IsListed(processId_)) return true;
  if (milliseconds == 0) return false;
  Sleep(milliseconds);
  return !IsListed(processId_);
}

std::optional<std::uint32_t> ProcessWatch::ExitCode() const {
  DWORD code = 0;
  if (!process_ || !GetExitCodeProcess(process_.get(), &code)) return std::nullopt;
  return code;
}

}  // namespace orva_accelerator::client
