#include "installer/install_folder.h"

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <filesystem>
#include <system_error>
#include <vector>

#include "win32/unique_handle.h"

namespace orva_accelerator::installer {

namespace {

namespace fs = std::filesystem;

constexpr SECURITY_INFORMATION kInheritedOnly =
    DACL_SECURITY_INFORMATION | UNPROTECTED_DACL_SECURITY_INFORMATION;
// NT SERVICE\TrustedInstaller.
constexpr wchar_t kTrustedInstaller[] =
    L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

std::vector<BYTE> wellKnownSid(WELL_KNOWN_SID_TYPE type) {
  std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
  auto size = static_cast<DWORD>(sid.size());
  if (!CreateWellKnownSid(type, nullptr, sid.data(), &size)) sid.clear();
  return sid;
}

bool isCallersAccount(PSID sid) {
  HANDLE opened = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) return false;
  const win32::UniqueKernelHandle token(opened);
  alignas(TOKEN_USER) BYTE buffer[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
  DWORD size = 0;
  if (!GetTokenInformation(token.get(), TokenUser, buffer, sizeof buffer, &size)) return false;
  return EqualSid(reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid, sid) != FALSE;
}

bool isTrusted(PSID owner) {
  for (const WELL_KNOWN_SID_TYPE type : {WinLocalSystemSid, WinBuiltinAdministratorsSid}) {
    std::vector<BYTE> sid = wellKnownSid(type);
    if (!sid.empty() && EqualSid(sid.data(), owner)) return true;
  }
  PSID converted = nullptr;
  if (ConvertStringSidToSidW(kTrustedInstaller, &converted)) {
    const win32::UniqueLocalMemory trustedInstaller(converted);
    if (EqualSid(converted, owner)) return true;
  }
  return isCallersAccount(owner);
}

bool hasTrustedOwner(const std::wstring& path) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner,
                            nullptr, nullptr, nullptr, &descriptor) != ERROR_SUCCESS) {
    return false;
  }
  const win32::UniqueLocalMemory released(descriptor);
  return owner != nullptr && isTrusted(owner);
}

bool secure(const std::wstring& path) {
  ACL empty = {};
  if (!InitializeAcl(&empty, sizeof empty, ACL_REVISION)) return false;
  SECURITY_INFORMATION what = kInheritedOnly;
  std::vector<BYTE> administrators;
  if (!hasTrustedOwner(path)) {
    administrators = wellKnownSid(WinBuiltinAdministratorsSid);
    if (administrators.empty()) return false;
    what |= OWNER_SECURITY_INFORMATION;
  }
  std::wstring writable = path;  // The function takes it so.
  return SetNamedSecurityInfoW(writable.data(), SE_FILE_OBJECT, what,
                               administrators.empty() ? nullptr : administrators.data(), nullptr,
                               &empty, nullptr) == ERROR_SUCCESS;
}

bool isLink(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

}  // namespace

bool isOwnFolder(const std::wstring& folder) {
  if (GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES) return true;
  return !isLink(folder) && hasTrustedOwner(folder);
}

std::wstring secureFolder(const std::wstring& folder) {
  if (GetFileAttributesW(folder.c_str()) == INVALID_FILE_ATTRIBUTES) return {};
  // From the top down: what is set above is inherited below.
  if (!secure(folder)) return folder;
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error)) {
    const std::wstring path = entry->path().wstring();
    if (isLink(path)) {
      entry.disable_recursion_pending();
      continue;
    }
    if (!secure(path)) return path;
  }
  return error ? folder : std::wstring();
}

}  // namespace orva_accelerator::installer
