// Between UTF-16, which Windows and the library speak, and UTF-8, in which everything else is
// written.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orva_accelerator::win32 {

// What becomes of bytes that are no UTF-8: U+FFFD in their place, or no text at all.
enum class MalformedUtf8 { Replaced, Refused };

// Nothing when the text cannot be converted; an empty text can. With MalformedUtf8::Replaced that
// takes a text of 2 GiB or a system that is out of memory.
std::optional<std::wstring> wideFromUtf8(std::string_view utf8,
                                         MalformedUtf8 malformed = MalformedUtf8::Replaced);

// The same the other way; half a surrogate pair becomes U+FFFD.
std::optional<std::string> utf8FromWide(std::wstring_view wide);

}  // namespace orva_accelerator::win32
