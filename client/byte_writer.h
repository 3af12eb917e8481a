// Puts together what is sent: packed records and texts, back to back.
#pragma once

#include <cstring>
#include <string_view>
#include <type_traits>

#include "client/bytes.h"

namespace orva_accelerator::client {

template <typename Record>
void AppendRecord(Bytes& bytes, const Record& record) {
  static_assert(std::is_trivially_copyable_v<Record>);
  const auto offset = bytes.size();
  bytes.resize(offset + sizeof(Record));
  std::memcpy(bytes.data() + offset, &record, sizeof(Record));
}

inline void AppendText(Bytes& bytes, std::string_view text) {
  bytes.insert(bytes.end(), text.begin(), text.end());
}

}  // namespace orva_accelerator::client
