// Texts in the library's records.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace orva_accelerator::sdk {

// How many units stand before the first NUL, or in the whole array.
template <typename Unit, std::size_t Units>
std::size_t fixedTextLength(const Unit (&units)[Units]) {
  static_assert(sizeof(Unit) == sizeof(std::uint16_t));
  // Four units at a time, up to the four with the NUL: what is computed is not 0 exactly if one of
  // them is. A search unit by unit was the largest own cost of a query with long texts.
  constexpr std::uint64_t kOnes = 0x0001'0001'0001'0001;
  constexpr std::uint64_t kHighest = 0x8000'8000'8000'8000;
  std::size_t at = 0;
  for (; at + 4 <= Units; at += 4) {
    std::uint64_t four = 0;
    std::memcpy(&four, units + at, sizeof four);
    if (((four - kOnes) & ~four & kHighest) != 0) break;
  }
  return static_cast<std::size_t>(std::find(units + at, units + Units, Unit{}) - units);
}

// The text in an array of fixed size, up to its first NUL. The library is to put one there; when it
// has not, the text ends with the array.
template <std::size_t Units>
std::wstring fixedText(const wchar_t (&units)[Units]) {
  return {units, fixedTextLength(units)};
}
template <std::size_t Units>
std::wstring fixedText(const char16_t (&units)[Units]) {
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  // Copied as bytes ahead: a string is made from units of another type one by one, and one that is
  // made to be filled is first written one by one, too.
  wchar_t copy[Units];
  const std::size_t length = fixedTextLength(units);
  std::memcpy(copy, units, length * sizeof(wchar_t));
  return {copy, length};
}

// Whether the text in the array is this one, unit for unit.
template <std::size_t Units>
bool isFixedText(const char16_t (&units)[Units], const std::wstring& text) {
  return text.size() == fixedTextLength(units) &&
         std::memcmp(units, text.data(), text.size() * sizeof(wchar_t)) == 0;
}

}  // namespace orva_accelerator::sdk
