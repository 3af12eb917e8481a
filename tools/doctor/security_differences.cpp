#include "tools/doctor/security_differences.h"

#include <windows.h>

#include <sddl.h>

#include <algorithm>

#include "tools/doctor/access_list.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::tools {
namespace {

constexpr std::uint32_t kRightsThatGiveThePc =
    SERVICE_CHANGE_CONFIG | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

bool contains(const std::vector<AccessClause>& list, const AccessClause& clause) {
  return std::ranges::find(list, clause) != list.end();
}

}  // namespace

client::Result<SecurityDifferences> compareServiceSecurity(std::span<const std::uint8_t> actual,
                                                           const wchar_t* expected) {
  PSECURITY_DESCRIPTOR converted = nullptr;
  ULONG size = 0;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(expected, SDDL_REVISION_1, &converted,
                                                            &size)) {
    const DWORD code = GetLastError();
    return client::Error{client::ErrorKind::System, "read the expected security", code,
                         "the system does not understand it"};
  }
  const win32::UniqueLocalMemory owner(converted);
  const auto expectedSecurity =
      readSecurity({static_cast<const std::uint8_t*>(converted), std::size_t{size}});
  const auto actualSecurity = readSecurity(actual);
  SecurityDifferences differences;
  // An empty list would let nobody even read it: whoever says so does not keep lists.
  if (!expectedSecurity || !expectedSecurity->list || !actualSecurity || !actualSecurity->list ||
      actualSecurity->list->empty()) {
    differences.unreadable = true;
    return differences;
  }
  const auto& ours = expectedSecurity->list;
  const auto& found = actualSecurity->list;
  for (const AccessClause& clause : *ours) {
    if (!contains(*found, clause)) differences.missing.push_back(describe(clause));
  }
  std::vector<AccessClause> added;
  for (const AccessClause& clause : *found) {
    if (contains(*ours, clause)) continue;
    added.push_back(clause);
    differences.added.push_back(describe(clause));
  }
  differences.givingThePc = !othersWith(kRightsThatGiveThePc, added).empty();
  return differences;
}

}  // namespace orva_accelerator::tools
