// Between the UTF-16 of the system and the UTF-8 of everything else here.
#pragma once

#include <string>
#include <string_view>

namespace orva_accelerator::tools {

// What cannot be converted becomes U+FFFD.
std::string Utf8FromWide(std::wstring_view wide);
std::wstring WideFromUtf8(std::string_view utf8);

}  // namespace orva_accelerator::tools
