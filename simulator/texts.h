// Texts as the library's records hold them, and their UTF-8 form in the scenario and the log.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orva_accelerator::simulator {

// Malformed UTF-8 becomes U+FFFD.
std::wstring fromUtf8(std::string_view text);

// Appends `text` between double quotes, escaped as in JSON; other characters stay as UTF-8. A
// surrogate without its other half, which UTF-8 cannot express, is written as \uD800 is.
void appendQuoted(std::string& out, std::wstring_view text);

// Copies `text` into an array of `capacity` UTF-16 units and terminates it if there is room for
// that: a text of `capacity` units or more fills the array and has no terminator, which is how a
// scenario asks for an unterminated one. The array may lie at any address: it is part of a packed
// record.
void copyText(std::wstring_view text, void* array, std::size_t capacity);

}  // namespace orva_accelerator::simulator
