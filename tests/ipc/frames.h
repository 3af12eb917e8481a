// Frames put together byte by byte, as a client in another language would.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "tests/support/golden_vectors.h"

namespace orva_accelerator::test {

// A type that the dispatcher of these tests answers with no payload, and one with an echo.
inline constexpr std::uint32_t kUnansweredType = 0;
inline constexpr std::uint32_t kEchoType = 0x503;
inline constexpr std::uint32_t kClientId = 7;

inline void appendU32(Bytes& bytes, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  }
}

inline std::uint32_t u32At(const Bytes& bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    value |= static_cast<std::uint32_t>(bytes.at(offset + i)) << (8 * i);
  }
  return value;
}

inline Bytes u32Bytes(std::initializer_list<std::uint32_t> values) {
  Bytes bytes;
  for (const std::uint32_t value : values) appendU32(bytes, value);
  return bytes;
}

inline Bytes joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// A header with the right magic.
inline Bytes headerBytes(std::uint32_t type, std::uint32_t payloadLength,
                         std::uint32_t clientId = kClientId) {
  return joined(Bytes{'P', 'L', 'X', 'R'}, u32Bytes({0, type, payloadLength, 0, clientId}));
}

// Header and payload as one message, with the length that is true.
inline Bytes requestBytes(std::uint32_t type, const Bytes& payload = {},
                          std::uint32_t clientId = kClientId) {
  return joined(headerBytes(type, static_cast<std::uint32_t>(payload.size()), clientId), payload);
}

// `size` bytes that differ from their neighbours.
inline Bytes patternBytes(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + (i >> 8));
  return bytes;
}

}  // namespace orva_accelerator::test
