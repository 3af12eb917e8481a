#include "tools/doctor/access_list.h"

#include <windows.h>

#include <sddl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <type_traits>

#include "tools/doctor/finding.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::tools {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr wchar_t kEveryone[] = L"S-1-1-0";

struct KnownAccount {
  const wchar_t* who;
  const char* name;
  bool mayHaveThePc;
};

constexpr KnownAccount kKnownAccounts[] = {
    {kEveryone, "Everyone", false},
    {L"S-1-5-4", "Interactive", false},
    {L"S-1-5-11", "Authenticated Users", false},
    {L"S-1-5-32-545", "Users", false},
    {L"S-1-5-18", "LocalSystem", true},
    {L"S-1-5-32-544", "Administrators", true},
    {L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464", "TrustedInstaller", true},
    // Stands for the owner, who is looked at by himself.
    {L"S-1-3-4", "Owner Rights", true},
};

const KnownAccount* knownAccount(const std::wstring& who) {
  const auto* found = std::ranges::find_if(
      kKnownAccounts, [&who](const KnownAccount& account) { return who == account.who; });
  return found == std::end(kKnownAccounts) ? nullptr : found;
}

template <typename T>
bool read(Bytes bytes, std::size_t offset, T& value) {
  static_assert(std::is_trivially_copyable_v<T>);
  if (offset > bytes.size() || bytes.size() - offset < sizeof(T)) return false;
  std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return true;
}

// Empty when the identifier does not end within `bytes`.
std::wstring accountAt(Bytes bytes, std::size_t offset) {
  // Revision, count of parts, six bytes of authority, parts of four bytes.
  constexpr std::size_t kStart = 8;
  std::uint8_t start[kStart];
  if (!read(bytes, offset, start) || start[1] > SID_MAX_SUB_AUTHORITIES) return {};
  const std::size_t size = kStart + std::size_t{4} * start[1];
  if (bytes.size() - offset < size) return {};
  // Aligned, as the system wants it.
  std::uint32_t account[SECURITY_MAX_SID_SIZE / sizeof(std::uint32_t)]{};
  std::memcpy(account, bytes.data() + offset, size);
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(account, &text)) return {};
  const win32::UniqueLocalMemory owner(text);
  return text;
}

bool permits(std::uint8_t type) {
  return type == ACCESS_ALLOWED_ACE_TYPE || type == ACCESS_ALLOWED_COMPOUND_ACE_TYPE ||
         type == ACCESS_ALLOWED_OBJECT_ACE_TYPE || type == ACCESS_ALLOWED_CALLBACK_ACE_TYPE ||
         type == ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE;
}

// `entry` is the whole of it. Nothing when it is damaged.
std::optional<AccessClause> clauseOf(const ACE_HEADER& header, Bytes entry) {
  AccessClause clause{header.AceType, header.AceFlags, 0, {}};
  const bool namesOne = header.AceType == ACCESS_ALLOWED_ACE_TYPE ||
                        header.AceType == ACCESS_DENIED_ACE_TYPE ||
                        header.AceType == ACCESS_ALLOWED_CALLBACK_ACE_TYPE ||
                        header.AceType == ACCESS_DENIED_CALLBACK_ACE_TYPE;
  if (!namesOne && !permits(header.AceType)) return clause;
  // In all these kinds the rights follow the header.
  if (!read(entry, sizeof(ACE_HEADER), clause.rights)) return std::nullopt;
  if (!namesOne) return clause;
  clause.who = accountAt(entry, sizeof(ACE_HEADER) + sizeof(clause.rights));
  if (clause.who.empty()) return std::nullopt;
  return clause;
}

std::optional<std::vector<AccessClause>> clausesAt(Bytes descriptor, std::size_t offset) {
  ACL start{};
  if (!read(descriptor, offset, start)) return std::nullopt;
  if (start.AclSize < sizeof(ACL) || descriptor.size() - offset < start.AclSize) {
    return std::nullopt;
  }
  Bytes rest = descriptor.subspan(offset, start.AclSize).subspan(sizeof(ACL));
  std::vector<AccessClause> clauses;
  for (unsigned i = 0; i < start.AceCount; ++i) {
    ACE_HEADER header{};
    if (!read(rest, 0, header)) return std::nullopt;
    if (header.AceSize < sizeof(header) || header.AceSize > rest.size()) return std::nullopt;
    const auto clause = clauseOf(header, rest.first(header.AceSize));
    if (!clause) return std::nullopt;
    clauses.push_back(*clause);
    rest = rest.subspan(header.AceSize);
  }
  return clauses;
}

}  // namespace

std::optional<Security> readSecurity(std::span<const std::uint8_t> descriptor) {
  SECURITY_DESCRIPTOR_RELATIVE start{};
  if (!read(descriptor, 0, start) || (start.Control & SE_SELF_RELATIVE) == 0) return std::nullopt;
  Security security;
  if (start.Owner != 0) {
    security.owner = accountAt(descriptor, start.Owner);
    if (security.owner.empty()) return std::nullopt;
  }
  if ((start.Control & SE_DACL_PRESENT) != 0 && start.Dacl != 0) {
    security.list = clausesAt(descriptor, start.Dacl);
    if (!security.list) return std::nullopt;
  }
  return security;
}

std::string describeAccount(const std::wstring& who) {
  const KnownAccount* known = knownAccount(who);
  return utf8(who) + (known == nullptr ? std::string() : std::string(" (") + known->name + ")");
}

std::string describe(const AccessClause& clause) {
  std::string text = "a clause of another kind ";
  if (clause.type == ACCESS_ALLOWED_ACE_TYPE) text = "allow ";
  if (clause.type == ACCESS_DENIED_ACE_TYPE) text = "deny ";
  char rights[16];
  // Always fits.
  (void)std::snprintf(rights, sizeof(rights), " 0x%x", static_cast<unsigned>(clause.rights));
  return text + describeAccount(clause.who) + rights;
}

bool mayHaveThePc(const std::wstring& who) {
  const KnownAccount* known = knownAccount(who);
  return known != nullptr && known->mayHaveThePc;
}

std::vector<std::wstring> othersWith(std::uint32_t rights,
                                     const std::optional<std::vector<AccessClause>>& list) {
  if (!list) return {kEveryone};
  std::vector<std::wstring> others;
  for (auto clause = list->begin(); clause != list->end(); ++clause) {
    if ((clause->flags & INHERIT_ONLY_ACE) != 0 || !permits(clause->type)) continue;
    if (mayHaveThePc(clause->who)) continue;
    std::uint32_t permitted = clause->rights & rights;
    // What an earlier clause has taken away, a later one does not give. Only what is taken from the
    // same account or from all is taken for sure.
    for (auto earlier = list->begin(); earlier != clause; ++earlier) {
      const bool denies = earlier->type == ACCESS_DENIED_ACE_TYPE &&
                          (earlier->flags & INHERIT_ONLY_ACE) == 0 &&
                          (earlier->who == clause->who || earlier->who == kEveryone);
      if (denies) permitted &= ~earlier->rights;
    }
    if (permitted != 0 && std::ranges::find(others, clause->who) == others.end()) {
      others.push_back(clause->who);
    }
  }
  return others;
}

}  // namespace orva_accelerator::tools
