#include "installer/kept_files.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "installer/library_kind.h"
#include "installer/process_list.h"

namespace orva_accelerator::installer {

namespace {

namespace fs = std::filesystem;

fs::path copyOf(const std::wstring& folder) {
  return fs::path(folder) / L".previous";
}

bool isSameContent(const fs::path& a, const fs::path& b) {
  std::error_code error;
  if (fs::file_size(a, error) != fs::file_size(b, error) || error) return false;
  std::ifstream first(a, std::ios::binary);
  std::ifstream second(b, std::ios::binary);
  using Bytes = std::istreambuf_iterator<char>;
  return first && second && std::equal(Bytes(first), Bytes(), Bytes(second), Bytes());
}

// Files below `from` go to the same places below `to`, except those that are there already, and
// what `leftOut` says. Goes on after one that cannot be copied,
// and returns the first of them.
template <typename LeftOut>
std::wstring copyFiles(const fs::path& from, const fs::path& to, LeftOut leftOut) {
  std::wstring first;
  std::error_code error;
  fs::recursive_directory_iterator entry(from, error);
  for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error)) {
    if (leftOut(entry->path())) {
      entry.disable_recursion_pending();
      continue;
    }
    std::error_code failed;
    if (!entry->is_regular_file(failed)) continue;
    const fs::path target = to / entry->path().lexically_relative(from);
    if (isSameContent(entry->path(), target)) continue;
    fs::create_directories(target.parent_path(), failed);
    if (!CopyFileW(entry->path().wstring().c_str(), target.wstring().c_str(), FALSE)) {
      if (first.empty()) first = entry->path().wstring();
    }
  }
  return error ? from.wstring() : first;
}

}  // namespace

std::wstring keepFiles(const std::wstring& folder) {
  forgetFiles(folder);
  if (GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES) return {};
  const fs::path copy = copyOf(folder);
  const std::wstring library = libraryIn(folder);
  const bool isReal = libraryKind(library) == LibraryKind::Real;
  return copyFiles(folder, copy, [&](const fs::path& path) {
    return isSameName(path.wstring(), copy.wstring()) ||
           (isReal && isSameName(path.wstring(), library));
  });
}

std::wstring putFilesBack(const std::wstring& folder) {
  const fs::path copy = copyOf(folder);
  if (GetFileAttributesW(copy.wstring().c_str()) == INVALID_FILE_ATTRIBUTES) return {};
  const std::wstring failed = copyFiles(copy, folder, [](const fs::path&) { return false; });
  if (failed.empty()) forgetFiles(folder);
  return failed;
}

void forgetFiles(const std::wstring& folder) {
  std::error_code stays;
  // What cannot be deleted now is deleted by the next installation.
  (void)fs::remove_all(copyOf(folder), stays);
}

}  // namespace orva_accelerator::installer
