// The service's security as it is, against what the installation writes.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "client/result.h"

namespace orva_accelerator::tools {

struct SecurityDifferences {
  bool unreadable = false;           // There is no list that could be compared.
  std::vector<std::string> missing;  // Clauses of ours that are not there.
  std::vector<std::string> added;    // Clauses that are not ours.
  bool givingThePc = false;          // An added clause gives it to somebody else.
};

// Compares lists clause by clause, whatever their order and spelling: the system writes the same
// rights with other letters than we do. `actual` is a self-relative descriptor.
client::Result<SecurityDifferences> compareServiceSecurity(std::span<const std::uint8_t> actual,
                                                           const wchar_t* expected);

}  // namespace orva_accelerator::tools
