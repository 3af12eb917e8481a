// Fetching a list from the library.
#pragma once

#include <cstdint>
#include <vector>

#include "sdk/kernel_api.h"

namespace orva_accelerator::sdk {

// Asks the library for the number of records, then for that many of them, in its order. Empty when
// it refuses either call or has none. `call` makes the library's call with the two arguments that
// differ between the times: the array, null the first time, and the pointer to its count.
//
// The list may have grown between the two calls. What the library claims to have written beyond
// the array that it was given does not exist. A count for which there is no memory throws
// std::bad_alloc.
template <typename Record, typename Call>
std::vector<Record> fetchRecords(const Call& call) {
  std::uint32_t count = 0;
  if (call(static_cast<Record*>(nullptr), &count) == KernelBool{0} || count == 0) return {};
  std::vector<Record> records(count);  // Zeroed.
  if (call(records.data(), &count) == KernelBool{0}) return {};
  if (count < records.size()) records.resize(count);
  return records;
}

}  // namespace orva_accelerator::sdk
