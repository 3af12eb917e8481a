#include "tests/package/foreign_owner.h"

#include <windows.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include "tests/support/bounded_wait.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

// Guests: nobody is one, and everybody has heard of them.
constexpr wchar_t kGuests[] = L"S-1-5-32-546";

std::wstring ownerOf(const std::filesystem::path& folder) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetNamedSecurityInfoW(folder.wstring().c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION,
                            &owner, nullptr, nullptr, nullptr, &descriptor) != ERROR_SUCCESS) {
    return {};
  }
  const win32::UniqueLocalMemory released(descriptor);
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(owner, &text)) return {};
  const win32::UniqueLocalMemory releasedText(text);
  return text;
}

// An owner that is none of the caller's own groups takes the right to restore files.
bool mayRestoreFiles() {
  HANDLE opened = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &opened)) return false;
  const win32::UniqueKernelHandle token(opened);
  TOKEN_PRIVILEGES wanted = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
  return LookupPrivilegeValueW(nullptr, L"SeRestorePrivilege", &wanted.Privileges[0].Luid) &&
         AdjustTokenPrivileges(token.get(), FALSE, &wanted, 0, nullptr, nullptr) &&
         GetLastError() == ERROR_SUCCESS;
}

void changeOwner(const std::filesystem::path& folder, const wchar_t* owner) {
  PSID sid = nullptr;
  if (!ConvertStringSidToSidW(owner, &sid)) return;
  const win32::UniqueLocalMemory released(sid);
  std::wstring name = folder.wstring();
  // Whether it has worked is asked of the folder.
  (void)SetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, sid, nullptr,
                              nullptr, nullptr);
}

// Wine forgets an owner that is set. Who owns a folder is asked of the system below, whose own
// programs it can start; it gives no handle of such a process.
void changeOwnerBelowWine(const std::filesystem::path& folder, const wchar_t* user) {
  using UnixName = char*(CDECL*)(const wchar_t*);
  const auto unixName = reinterpret_cast<UnixName>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
  if (unixName == nullptr) return;
  char* path = unixName(folder.wstring().c_str());
  if (path == nullptr) return;
  std::wstring line = std::wstring(L"chown ") + user + L" \"";
  line.append(path, path + std::char_traits<char>::length(path)) += L"\"";
  // The function's documentation is its source.
  (void)HeapFree(GetProcessHeap(), 0, path);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started = {};
  // Whether it has worked is asked of the folder.
  (void)CreateProcessW(L"Z:\\bin\\chown", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &startup, &started);
}

}  // namespace

ForeignOwner::ForeignOwner(const std::filesystem::path& folder)
    : folder_(folder), before_(ownerOf(folder)) {
  EXPECT_NE(before_, L"");
  if (!mayRestoreFiles()) return;
  changeOwner(folder_, kGuests);
  if (ownerOf(folder_) == before_) changeOwnerBelowWine(folder_, L"nobody");
  isForeign_ = waitUntil([&] { return ownerOf(folder_) != before_; });
}

ForeignOwner::~ForeignOwner() {
  if (!isForeign_) return;
  changeOwner(folder_, before_.c_str());
  if (ownerOf(folder_) != before_) changeOwnerBelowWine(folder_, L"root");
  EXPECT_TRUE(waitUntil([&] { return ownerOf(folder_) == before_; }));
}

}  // namespace orva_accelerator::test
