// Texts in the library's records.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace orva_accelerator::sdk {

// The text in an array of fixed size, up to its first NUL. The library is to put one there; when it
// has not, the text ends with the array.
template <std::size_t Units>
std::wstring fixedText(const char16_t (&units)[Units]) {
  return std::wstring(units, std::find(units, units + Units, u'\0'));
}

}  // namespace orva_accelerator::sdk
