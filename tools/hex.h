// Bytes as people type and read them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "client/bytes.h"

namespace orva_accelerator::tools {

// "0100ff", "01 00 FF": pairs of digits, blanks between pairs allowed. Nothing for anything else.
std::optional<client::Bytes> parseHex(std::string_view text);

// "0100ff".
std::string plainHex(client::ByteView bytes);

// Sixteen bytes a line: offset, bytes, and what of them is printable ASCII.
std::string hexDump(client::ByteView bytes);

}  // namespace orva_accelerator::tools
