// What a fake library hands out: texts in fixed arrays, and lists.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "sdk/kernel_api.h"

namespace orva_accelerator::test {

// Puts the text at the start of the array, whose other units stay as they are: a text as long as
// the array is not terminated.
template <std::size_t Units>
void setText(wchar_t (&array)[Units], std::wstring_view text) {
  ASSERT_LE(text.size(), Units);
  std::copy(text.begin(), text.end(), array);
}
inline void setText(wchar_t* array, std::uint32_t capacity, std::wstring_view text) {
  ASSERT_LE(text.size(), capacity);
  std::copy(text.begin(), text.end(), array);
}

template <typename Record>
bool isZeroed(const Record* records, std::size_t count = 1) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(records);
  return std::all_of(bytes, bytes + count * sizeof(Record),
                     [](unsigned char byte) { return byte == 0; });
}

// The two calls of a list function. It never writes past the array, but may lie about it.
template <typename Record>
struct ScriptedList {
  std::vector<Record> records;
  std::optional<std::uint32_t> announced = std::nullopt;  // By the first call, for their number.
  std::optional<std::uint32_t> claimed = std::nullopt;    // By the second, for how many it wrote.
  bool refusesFirst = false;                              // After having stored the number.
  bool refusesSecond = false;                             // After having written.

  sdk::KernelBool operator()(Record* array, std::uint32_t* count) const {
    const auto size = static_cast<std::uint32_t>(records.size());
    if (array == nullptr) {
      EXPECT_EQ(*count, 0U);
      *count = announced.value_or(size);
      return refusesFirst ? 0 : 1;
    }
    EXPECT_EQ(*count, announced.value_or(size));
    EXPECT_TRUE(isZeroed(array, *count));
    const std::uint32_t written = std::min(size, *count);
    // Even for no records the array is not null, but the list's own storage may be.
    if (written != 0) std::memcpy(array, records.data(), written * sizeof(Record));
    *count = claimed.value_or(written);
    return refusesSecond ? 0 : 1;
  }
};

}  // namespace orva_accelerator::test
