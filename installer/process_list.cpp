#include "installer/process_list.h"

// Needs the types of windows.h.
#include <tlhelp32.h>

#include "win32/unique_handle.h"

namespace orva_accelerator::installer {

namespace {

constexpr DWORD kPollMs = 50;

std::optional<std::vector<DWORD>> allProcesses() {
  const win32::UniqueFileHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!snapshot) return std::nullopt;
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  if (!Process32FirstW(snapshot.get(), &entry)) return std::nullopt;
  std::vector<DWORD> ids;
  do {
    ids.push_back(entry.th32ProcessID);
  } while (Process32NextW(snapshot.get(), &entry));
  return ids;
}

// True when none is left.
bool endProgramsOnce(const std::wstring& prefix) {
  const auto processes = allProcesses();
  if (!processes) return false;
  bool gone = true;
  for (const DWORD id : *processes) {
    const win32::UniqueKernelHandle process(
        OpenProcess(PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
    if (!process) continue;
    if (!isSameName(imagePath(process.get()).substr(0, prefix.size()), prefix)) continue;
    gone = false;
    // Asked again if it is still there.
    (void)TerminateProcess(process.get(), 1);
  }
  return gone;
}

}  // namespace

bool isSameName(std::wstring_view a, std::wstring_view b) {
  return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                              static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

std::wstring imagePath(HANDLE process) {
  // Longer than any path that the service is offered for.
  wchar_t path[1024];
  auto length = static_cast<DWORD>(std::size(path));
  if (!QueryFullProcessImageNameW(process, 0, path, &length)) return {};
  return {path, length};
}

bool endProgramsIn(const std::wstring& folder, DWORD limitMs) {
  const std::wstring prefix = folder + L"\\";
  const ULONGLONG deadline = GetTickCount64() + limitMs;
  while (!endProgramsOnce(prefix)) {
    if (GetTickCount64() >= deadline) return false;
    Sleep(kPollMs);
  }
  return true;
}

}  // namespace orva_accelerator::installer
