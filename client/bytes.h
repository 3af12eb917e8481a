// Byte strings as they travel.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

namespace orva_accelerator::client {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// The packed wire record in front; nothing when there are fewer bytes.
template <typename Record>
std::optional<Record> frontRecord(ByteView bytes) {
  static_assert(std::is_trivially_copyable_v<Record>);
  if (bytes.size() < sizeof(Record)) return std::nullopt;
  Record record;
  std::memcpy(&record, bytes.data(), sizeof(Record));
  return record;
}

template <typename Record>
ByteView bytesOf(const Record& record) {
  static_assert(std::is_trivially_copyable_v<Record>);
  return {reinterpret_cast<const std::uint8_t*>(&record), sizeof(Record)};
}

inline void append(Bytes& bytes, ByteView more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

}  // namespace orva_accelerator::client
