#include "tools/doctor/write_access.h"

#include <windows.h>

#include "tools/doctor/access_list.h"
#include "tools/doctor/registered_path.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kCheck[] = "write access";

constexpr std::uint32_t harmfulRights(Place place) {
  // A root cannot be renamed or deleted, whoever is permitted to.
  constexpr std::uint32_t kRoot = FILE_DELETE_CHILD | WRITE_DAC | WRITE_OWNER | GENERIC_ALL;
  if (place == Place::Root) return kRoot;
  if (place == Place::Above) return kRoot | DELETE;
  return kRoot | DELETE | FILE_WRITE_DATA | FILE_APPEND_DATA | GENERIC_WRITE;
}

// 0 or the error of the call.
DWORD readDescriptor(const std::wstring& path, std::vector<std::uint8_t>& descriptor) {
  constexpr SECURITY_INFORMATION kParts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
  DWORD size = 0;
  if (!GetFileSecurityW(path.c_str(), kParts, nullptr, 0, &size)) {
    const DWORD code = GetLastError();
    if (code != ERROR_INSUFFICIENT_BUFFER) return code;
  }
  descriptor.resize(size);
  if (!GetFileSecurityW(path.c_str(), kParts, descriptor.data(), size, &size)) {
    return GetLastError();
  }
  return 0;
}

struct Examined {
  std::wstring path;
  Place place;
};

std::vector<Examined> withFoldersAbove(const std::vector<std::wstring>& paths) {
  std::vector<Examined> all;
  all.reserve(paths.size());
  for (const std::wstring& path : paths) all.push_back({path, Place::Own});
  if (paths.empty()) return all;
  for (std::wstring folder = folderOf(paths.front()); !folder.empty(); folder = folderOf(folder)) {
    const bool root = folder.find_first_of(L"\\/") == std::wstring::npos;
    all.push_back(root ? Examined{folder + L"\\", Place::Root} : Examined{folder, Place::Above});
  }
  return all;
}

}  // namespace

std::optional<Finding> accessTrouble(const std::wstring& path, Place place,
                                     std::span<const std::uint8_t> descriptor) {
  const std::string name = utf8(path);
  const auto security = readSecurity(descriptor);
  if (!security) {
    return Finding{kCheck, Verdict::Warning, "who may change " + name + " cannot be made out",
                   "icacls \"" + name + "\" shows it"};
  }
  if (!mayHaveThePc(security->owner)) {
    return Finding{
        kCheck, Verdict::Problem,
        name + " belongs to " +
            (security->owner.empty() ? std::string("nobody") : describeAccount(security->owner)) +
            ", who can permit himself everything, and so run anything as LocalSystem",
        "icacls \"" + name + "\" /setowner *S-1-5-32-544, as administrator"};
  }
  const auto others = othersWith(harmfulRights(place), security->list);
  if (others.empty()) return std::nullopt;
  std::vector<std::string> who;
  who.reserve(others.size());
  for (const std::wstring& one : others) {
    who.push_back(one.empty() ? "somebody" : describeAccount(one));
  }
  return Finding{kCheck, Verdict::Problem,
                 joined(who, ", ") + " can change " + name + ", and so run anything as LocalSystem",
                 "install into Program Files, or take it away: icacls \"" + name +
                     "\" /inheritance:d /remove:g and the account, as administrator"};
}

Finding checkWriteAccess(const std::vector<std::wstring>& paths, bool underWine) {
  if (underWine) {
    return {kCheck,
            Verdict::NotChecked,
            "Wine makes up the rights on files from those of the system below it",
            {}};
  }
  for (const auto& [path, place] : withFoldersAbove(paths)) {
    std::vector<std::uint8_t> descriptor;
    const DWORD code = readDescriptor(path, descriptor);
    if (isMissing(code)) continue;
    if (code != 0) {
      return {kCheck,
              Verdict::NotChecked,
              withCode("the rights on " + utf8(path) + " cannot be read", code),
              {}};
    }
    if (auto trouble = accessTrouble(path, place, descriptor)) return *trouble;
  }
  return {kCheck, Verdict::Ok, "only the system and administrators can change the files", {}};
}

}  // namespace orva_accelerator::tools
