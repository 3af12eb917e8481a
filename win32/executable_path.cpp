#include "win32/executable_path.h"

#include <windows.h>

#include <cwchar>
#include <iterator>

namespace orva_accelerator::win32 {

namespace {
constexpr DWORD kPathCapacity = 260;
}

std::optional<std::wstring> ownExecutablePath() {
  wchar_t path[kPathCapacity] = {};
  if (GetModuleFileNameW(nullptr, path, kPathCapacity) == 0) return std::nullopt;
  return std::wstring(path, wcsnlen(path, std::size(path)));
}

}  // namespace orva_accelerator::win32
