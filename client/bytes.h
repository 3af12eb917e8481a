// Byte strings as they travel.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace orva_accelerator::client {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

}  // namespace orva_accelerator::client
