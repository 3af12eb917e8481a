#include "win32/image_path.h"

#include "win32/unique_handle.h"

namespace orva_accelerator::win32 {

namespace {
// The system's longest path, terminator included.
constexpr DWORD kPathCapacity = 32'768;
}  // namespace

std::wstring imagePathOf(DWORD processId) {
  const UniqueKernelHandle process(
      OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  if (!process) return {};
  std::wstring path(kPathCapacity, L'\0');
  DWORD length = kPathCapacity;
  if (!QueryFullProcessImageNameW(process.get(), 0, path.data(), &length)) return {};
  path.resize(length);
  return path;
}

}  // namespace orva_accelerator::win32
