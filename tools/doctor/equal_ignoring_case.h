// Comparing paths and program names as the system does.
#pragma once

#include <windows.h>

#include <string_view>

namespace orva_accelerator::tools {

inline bool EqualIgnoringCase(std::wstring_view a, std::wstring_view b) {
  return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                              static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace orva_accelerator::tools
