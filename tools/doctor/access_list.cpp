#include "tools/doctor/access_list.h"

#include <sddl.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>

#include "tools/doctor/finding.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::tools {
namespace {

struct KnownAccount {
  const wchar_t* who;
  const char* name;
  bool ordinary;
};

constexpr KnownAccount kKnownAccounts[] = {
    {L"S-1-1-0", "Everyone", true},
    {L"S-1-5-4", "Interactive", true},
    {L"S-1-5-11", "Authenticated Users", true},
    {L"S-1-5-32-545", "Users", true},
    {L"S-1-5-18", "LocalSystem", false},
    {L"S-1-5-32-544", "Administrators", false},
};

const KnownAccount* knownAccount(const std::wstring& who) {
  const auto* found = std::ranges::find_if(
      kKnownAccounts, [&who](const KnownAccount& account) { return who == account.who; });
  return found == std::end(kKnownAccounts) ? nullptr : found;
}

std::wstring textOf(PSID account) {
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(account, &text)) return {};
  const win32::UniqueLocalMemory owner(text);
  return text;
}

AccessClause clauseOf(const ACE_HEADER* header) {
  AccessClause clause{header->AceType, header->AceFlags, 0, {}};
  if (header->AceType == ACCESS_ALLOWED_ACE_TYPE || header->AceType == ACCESS_DENIED_ACE_TYPE) {
    // Both kinds have the same layout.
    const auto* ace = reinterpret_cast<const ACCESS_ALLOWED_ACE*>(header);
    clause.rights = ace->Mask;
    clause.who = textOf(const_cast<DWORD*>(&ace->SidStart));
  }
  return clause;
}

}  // namespace

std::optional<std::vector<AccessClause>> readAccessList(PSECURITY_DESCRIPTOR descriptor) {
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  PACL list = nullptr;
  if (!GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted)) return std::nullopt;
  if (!present || list == nullptr) return std::nullopt;
  std::vector<AccessClause> clauses;
  for (DWORD i = 0; i < list->AceCount; ++i) {
    void* ace = nullptr;
    if (!GetAce(list, i, &ace)) return std::nullopt;
    clauses.push_back(clauseOf(static_cast<const ACE_HEADER*>(ace)));
  }
  return clauses;
}

std::string describe(const AccessClause& clause) {
  std::string text = clause.type == ACCESS_ALLOWED_ACE_TYPE  ? "allow "
                     : clause.type == ACCESS_DENIED_ACE_TYPE ? "deny "
                                                             : "a clause of another kind ";
  text += utf8(clause.who);
  if (const KnownAccount* known = knownAccount(clause.who))
    text += std::string(" (") + known->name + ")";
  char rights[16];
  (void)std::snprintf(rights, sizeof(rights), " 0x%x",
                      static_cast<unsigned>(clause.rights));  // Always fits.
  return text + rights;
}

bool standsForOrdinaryUsers(const std::wstring& who) {
  const KnownAccount* known = knownAccount(who);
  return known != nullptr && known->ordinary;
}

std::uint32_t rightsOfOrdinaryUsers(const std::optional<std::vector<AccessClause>>& list) {
  if (!list) return 0xFFFFFFFF;
  std::uint32_t allowed = 0;
  std::uint32_t denied = 0;
  // In order: what an earlier clause has decided, a later one does not change.
  for (const AccessClause& clause : *list) {
    if ((clause.flags & INHERIT_ONLY_ACE) != 0 || !standsForOrdinaryUsers(clause.who)) continue;
    if (clause.type == ACCESS_ALLOWED_ACE_TYPE) allowed |= clause.rights & ~denied;
    if (clause.type == ACCESS_DENIED_ACE_TYPE) denied |= clause.rights & ~allowed;
  }
  return allowed;
}

}  // namespace orva_accelerator::tools
