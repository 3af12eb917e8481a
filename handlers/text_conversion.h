// Text on the wire (UTF-8, no terminator) and inside the service (UTF-16).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orva_accelerator::ipc {

// Converts the `length` bytes of UTF-8 at offset `cursor` of the payload and advances the cursor by
// that length, whatever became of the conversion. Invalid UTF-8 is replaced as the system does it,
// not rejected. The length is the client's and is not compared with that of the payload: the
// payload's read margin (see PayloadBuffer) is what makes that safe.
std::wstring ReadPayloadText(const void* payload, std::uint32_t& cursor, std::uint16_t length);

// The UTF-8 form of a wide string; empty when the system cannot convert it.
std::string toUtf8(std::wstring_view text);

// The same into memory of the caller's: how many bytes it takes, and how many were written. Nothing
// is written of a text that does not fit.
std::size_t utf8Size(std::wstring_view text);
std::size_t writeUtf8(std::wstring_view text, void* utf8, std::size_t room);

}  // namespace orva_accelerator::ipc
