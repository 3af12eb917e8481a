#include "installer/library_kind.h"

#include <windows.h>

#include <vector>

namespace orva_accelerator::installer {

namespace {

constexpr wchar_t kLibraryFolder[] = L"\\accel_sdk\\sdk_x64";
constexpr wchar_t kSimulated[] = L"Simulated acceleration library for development";
// Beside the simulated library: the scenario that it follows, its log of calls, and our note.
constexpr const wchar_t* kCompanions[] = {L"OpenKernel.scenario.json", L"OpenKernel.calls.log",
                                          L"SIMULATED-LIBRARY.txt"};

}  // namespace

std::wstring libraryIn(const std::wstring& folder) {
  return folder + kLibraryFolder + L"\\OpenKernel.dll";
}

LibraryKind libraryKind(const std::wstring& library) {
  if (GetFileAttributesW(library.c_str()) == INVALID_FILE_ATTRIBUTES) return LibraryKind::None;
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(library.c_str(), &ignored);
  if (size == 0) return LibraryKind::Real;
  std::vector<BYTE> block(size);
  if (!GetFileVersionInfoW(library.c_str(), 0, size, block.data())) return LibraryKind::Real;
  void* description = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block.data(), L"\\StringFileInfo\\040904B0\\FileDescription", &description,
                      &length)) {
    return LibraryKind::Real;
  }
  return std::wstring(kSimulated) == static_cast<const wchar_t*>(description)
             ? LibraryKind::Simulated
             : LibraryKind::Real;
}

bool removeSimulatedLibrary(const std::wstring& folder) {
  const std::wstring library = libraryIn(folder);
  if (libraryKind(library) != LibraryKind::Simulated) return true;
  if (!DeleteFileW(library.c_str())) return false;
  for (const wchar_t* companion : kCompanions) {
    // Not all of them are there, and none of them matters without the library.
    (void)DeleteFileW((folder + kLibraryFolder + L"\\" + companion).c_str());
  }
  return true;
}

void removeEmptyFolders(const std::wstring& folder) {
  for (const std::wstring& path : {folder + kLibraryFolder, folder + L"\\accel_sdk", folder}) {
    // Fails while something is in it, which is then not ours.
    (void)RemoveDirectoryW(path.c_str());
  }
}

}  // namespace orva_accelerator::installer
