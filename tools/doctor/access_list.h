// Who owns something and who may do what with it, read from the bytes of a security descriptor.
//
// No count or length in them is believed before it has been checked.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orva_accelerator::tools {

struct AccessClause {
  std::uint8_t type = 0;  // ACCESS_ALLOWED_ACE_TYPE and so on.
  std::uint8_t flags = 0;
  std::uint32_t rights = 0;
  std::wstring who;  // A security identifier, "S-1-5-11"; empty for kinds that name no single one.

  bool operator==(const AccessClause&) const = default;
};

struct Security {
  std::wstring owner;  // Empty: none is given.
  // Nothing when there is no list, which permits everything to everybody.
  std::optional<std::vector<AccessClause>> list;
};

// From a self-relative descriptor; nothing when it is damaged.
std::optional<Security> readSecurity(std::span<const std::uint8_t> descriptor);

// "allow S-1-5-11 (Authenticated Users) 0x20035".
std::string describe(const AccessClause& clause);
// "S-1-5-11 (Authenticated Users)".
std::string describeAccount(const std::wstring& who);

// SYSTEM, Administrators, TrustedInstaller. Anybody else who can change what runs as SYSTEM has the
// PC, be it a group of many or one named user.
bool mayHaveThePc(const std::wstring& who);

// Those who may not have the PC and whom the list permits any of `rights`. An entry may be empty: a
// clause that permits it names nobody in particular.
std::vector<std::wstring> othersWith(std::uint32_t rights,
                                     const std::optional<std::vector<AccessClause>>& list);

}  // namespace orva_accelerator::tools
