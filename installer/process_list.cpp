#include "installer/process_list.h"

// Needs the types of windows.h.
#include <tlhelp32.h>

#include "win32/unique_handle.h"

namespace orva_accelerator::installer {

bool isSameName(std::wstring_view a, std::wstring_view b) {
  return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                              static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

std::optional<std::vector<DWORD>> processesNamed(std::wstring_view imageName) {
  const win32::UniqueFileHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!snapshot) return std::nullopt;
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  if (!Process32FirstW(snapshot.get(), &entry)) return std::nullopt;
  std::vector<DWORD> ids;
  do {
    if (isSameName(entry.szExeFile, imageName)) ids.push_back(entry.th32ProcessID);
  } while (Process32NextW(snapshot.get(), &entry));
  return ids;
}

std::wstring imagePath(DWORD processId) {
  const win32::UniqueKernelHandle process(
      OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  if (!process) return {};
  // Longer than any path that the service is offered for.
  wchar_t path[1024];
  auto length = static_cast<DWORD>(std::size(path));
  if (!QueryFullProcessImageNameW(process.get(), 0, path, &length)) return {};
  return {path, length};
}

}  // namespace orva_accelerator::installer
