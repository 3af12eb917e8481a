#include "installer/replaceable_files.h"

#include <filesystem>
#include <system_error>

#include "installer/library_kind.h"
#include "installer/process_list.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::installer {

namespace {

namespace fs = std::filesystem;

constexpr DWORD kPollMs = 200;

// What the installer needs for replacing and deleting, with everything shared: only others' demands
// can make this fail.
bool isInUse(const std::wstring& file) {
  const win32::UniqueFileHandle handle(CreateFileW(
      file.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  if (handle) return false;
  const DWORD error = GetLastError();
  return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
         error == ERROR_USER_MAPPED_FILE;
}

std::wstring fileInUseNow(const std::wstring& folder) {
  const std::wstring library = libraryIn(folder);
  const bool ours = libraryKind(library) != LibraryKind::Real;
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error)) {
    const std::wstring path = entry->path().wstring();
    std::error_code typeUnknown;
    if (!entry->is_regular_file(typeUnknown) || (!ours && isSameName(path, library))) continue;
    if (isInUse(path)) return path;
  }
  return {};
}

}  // namespace

std::wstring fileInUse(const std::wstring& folder, DWORD limitMs) {
  const ULONGLONG deadline = GetTickCount64() + limitMs;
  std::wstring file = fileInUseNow(folder);
  while (!file.empty() && GetTickCount64() < deadline) {
    Sleep(kPollMs);
    file = fileInUseNow(folder);
  }
  return file;
}

bool hasSpace(const std::wstring& folder, std::uint64_t bytes) {
  std::error_code error;
  const fs::space_info space = fs::space(fs::path(folder).root_path(), error);
  return error || space.available >= bytes;
}

}  // namespace orva_accelerator::installer
