// The clauses of a discretionary access list.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orva_accelerator::tools {

struct AccessClause {
  std::uint8_t type = 0;  // ACCESS_ALLOWED_ACE_TYPE and so on.
  std::uint8_t flags = 0;
  std::uint32_t rights = 0;
  std::wstring who;  // A security identifier, "S-1-5-11".

  bool operator==(const AccessClause&) const = default;
};

// Nothing when the descriptor holds no list (which permits everything to everybody) or cannot be
// read. Clauses of kinds that name no single account and mask are kept with an empty `who`.
std::optional<std::vector<AccessClause>> readAccessList(PSECURITY_DESCRIPTOR descriptor);

// "allow S-1-5-11 (Authenticated Users) 0x20035".
std::string describe(const AccessClause& clause);

// Accounts that every signed-in user belongs to.
bool standsForOrdinaryUsers(const std::wstring& who);

// What the list permits to an ordinary user: everything when there is no list.
std::uint32_t rightsOfOrdinaryUsers(const std::optional<std::vector<AccessClause>>& list);

}  // namespace orva_accelerator::tools
