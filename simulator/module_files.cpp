#include "simulator/module_files.h"

namespace orva_accelerator::simulator {
namespace {

// Any address inside this library identifies it to the system.
constexpr char kInsideThisLibrary = 0;

HMODULE findLibrary(DWORD flags) {
  HMODULE module = nullptr;
  const auto* address = reinterpret_cast<const wchar_t*>(&kInsideThisLibrary);
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags, address, &module)) {
    return nullptr;
  }
  return module;
}

std::wstring libraryPath() {
  const HMODULE module = findLibrary(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) return {};
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);  // The path was cut to fit.
  }
}

}  // namespace

std::wstring pathBesideLibrary(std::wstring_view fileName) {
  std::wstring path = libraryPath();
  const std::size_t separator = path.find_last_of(L"\\/");
  path.resize(separator == std::wstring::npos ? 0 : separator + 1);
  return path.append(fileName);
}

HMODULE holdLibrary() {
  return findLibrary(0);
}

}  // namespace orva_accelerator::simulator
