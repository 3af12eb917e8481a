#include "installer/shadowing_programs.h"

#include <windows.h>

namespace orva_accelerator::installer {

std::vector<std::wstring> shadowingPaths(const std::wstring& path) {
  std::vector<std::wstring> paths;
  for (size_t blank = path.find(L' '); blank != std::wstring::npos;
       blank = path.find(L' ', blank + 1)) {
    paths.push_back(path.substr(0, blank) + L".exe");
  }
  return paths;
}

std::wstring shadowingProgram(const std::wstring& path) {
  for (const std::wstring& candidate : shadowingPaths(path)) {
    const DWORD attributes = GetFileAttributesW(candidate.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
      return candidate;
    }
  }
  return {};
}

}  // namespace orva_accelerator::installer
