// Texts in the library's records.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

namespace orva_accelerator::sdk {

// The text in an array of fixed size, up to its first NUL. The library is to put one there; when it
// has not, the text ends with the array.
template <std::size_t Units>
std::wstring fixedText(const wchar_t (&units)[Units]) {
  return std::wstring(units, std::find(units, units + Units, L'\0'));
}
template <std::size_t Units>
std::wstring fixedText(const char16_t (&units)[Units]) {
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  // Copied whole ahead, because a string is made from units of another type one by one.
  wchar_t copy[Units];
  std::memcpy(copy, units, sizeof(copy));
  return fixedText(copy);
}

// Whether the text in the array is this one, unit for unit.
template <std::size_t Units>
bool isFixedText(const char16_t (&units)[Units], const std::wstring& text) {
  const char16_t* const end = std::find(units, units + Units, u'\0');
  return text.size() == static_cast<std::size_t>(end - units) &&
         std::memcmp(units, text.data(), text.size() * sizeof(wchar_t)) == 0;
}

}  // namespace orva_accelerator::sdk
