// Reading the fixed part of a request's payload.
#pragma once

#include <cstring>
#include <type_traits>

namespace orva_accelerator::ipc {

// The record at the start of the payload. A payload that is shorter, or absent, continues with the
// bytes of its read margin.
template <typename Record>
Record readFixedPart(const void* payload) {
  static_assert(std::is_trivially_copyable_v<Record>);
  Record record;
  std::memcpy(&record, payload, sizeof(record));
  return record;
}

}  // namespace orva_accelerator::ipc
