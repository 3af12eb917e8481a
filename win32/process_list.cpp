#include "win32/process_list.h"

// After <windows.h>, which it needs.
#include <tlhelp32.h>

#include "win32/unique_handle.h"

namespace orva_accelerator::win32 {

namespace {

static_assert(sizeof(PROCESSENTRY32W) == 568);

}  // namespace

ProcessSearch findProcess(const std::function<bool(const RunningProcess&)>& wanted) {
  const UniqueFileHandle list(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!list) return ProcessSearch::Unknown;
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Process32FirstW(list.get(), &entry); more;
       more = Process32NextW(list.get(), &entry)) {
    if (wanted({entry.th32ProcessID, entry.szExeFile})) return ProcessSearch::Found;
  }
  return GetLastError() == ERROR_NO_MORE_FILES ? ProcessSearch::NotFound : ProcessSearch::Unknown;
}

}  // namespace orva_accelerator::win32
