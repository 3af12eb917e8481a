#include "ipc/process_search.h"

#include <windows.h>

// After <windows.h>, which it needs.
#include <tlhelp32.h>

#include <cwctype>

#include "win32/unique_handle.h"

namespace orva_accelerator::ipc {

namespace {

static_assert(sizeof(PROCESSENTRY32W) == 568);

std::wstring toLower(std::wstring text) {
  for (wchar_t& unit : text) unit = static_cast<wchar_t>(std::towlower(unit));
  return text;
}

}  // namespace

bool FindProcessByName(const std::wstring& imageName) {
  if (imageName.empty()) return false;
  const std::wstring wanted = toLower(imageName);
  const win32::UniqueFileHandle processes(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!processes) return false;
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof(entry);
  for (BOOL found = Process32FirstW(processes.get(), &entry); found;
       found = Process32NextW(processes.get(), &entry)) {
    if (toLower(entry.szExeFile) == wanted) return true;
  }
  return false;
}

}  // namespace orva_accelerator::ipc
