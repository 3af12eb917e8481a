// Taking over what the library has put into its records.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace orva_accelerator::sdk {

// The text in an array of fixed size, up to its first NUL. The library is to put one there; when it
// has not, the text ends with the array.
template <std::size_t Units>
std::wstring_view textOf(const wchar_t (&units)[Units]) {
  static_assert(sizeof(wchar_t) == sizeof(std::uint16_t));
  // Four units at a time, up to the four with the NUL: what is computed is not 0 exactly if one of
  // them is. A search unit by unit was the largest own cost of a query with long texts.
  constexpr std::uint64_t kOnes = 0x0001'0001'0001'0001;
  constexpr std::uint64_t kHighest = 0x8000'8000'8000'8000;
  std::size_t at = 0;
  for (; at + 4 <= Units; at += 4) {
    std::uint64_t four = 0;
    std::memcpy(&four, units + at, sizeof(four));
    if (((four - kOnes) & ~four & kHighest) != 0) break;
  }
  return {units, static_cast<std::size_t>(std::find(units + at, units + Units, L'\0') - units)};
}

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
  if (!call(static_cast<Record*>(nullptr), &count) || count == 0) return {};
  std::vector<Record> records(count);  // Zeroed.
  if (!call(records.data(), &count)) return {};
  if (count < records.size()) records.resize(count);
  return records;
}

}  // namespace orva_accelerator::sdk
