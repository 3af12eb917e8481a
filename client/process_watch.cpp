#include "client/process_watch.h"

#include "win32/process_list.h"

namespace orva_accelerator::client {

bool isListed(std::uint32_t processId) {
  return win32::findProcess([processId](const win32::RunningProcess& process) {
           return process.id == processId;
         }) != win32::ProcessSearch::NotFound;
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

bool ProcessWatch::endedWithin(std::uint32_t milliseconds) const {
  if (absent_) return true;
  if (process_) return WaitForSingleObject(process_.get(), milliseconds) == WAIT_OBJECT_0;
  if (!isListed(processId_)) return true;
  if (milliseconds == 0) return false;
  Sleep(milliseconds);
  return !isListed(processId_);
}

std::optional<std::uint32_t> ProcessWatch::exitCode() const {
  DWORD code = 0;
  if (!process_ || !GetExitCodeProcess(process_.get(), &code)) return std::nullopt;
  return code;
}

}  // namespace orva_accelerator::client
