// Takes fixed parts and texts from the front of received bytes, never beyond their end.
//
// The bytes come from another process: no length in them is believed before it has been compared
// with what is there.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

#include "client/bytes.h"

namespace orva_accelerator::client {

class ByteReader {
 public:
  explicit ByteReader(ByteView bytes) : rest_(bytes) {}

  std::size_t remaining() const { return rest_.size(); }

  // Copies a packed wire record; false, with nothing taken, when fewer bytes are left.
  template <typename Record>
  bool Take(Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (rest_.size() < sizeof(Record)) return false;
    std::memcpy(&record, rest_.data(), sizeof(Record));
    rest_ = rest_.subspan(sizeof(Record));
    return true;
  }

  // Takes `length` bytes of text as they are: UTF-8 if the sender keeps to the protocol.
  bool TakeText(std::size_t length, std::string& text) {
    if (rest_.size() < length) return false;
    text.assign(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(length));
    rest_ = rest_.subspan(length);
    return true;
  }

 private:
  ByteView rest_;
};

}  // namespace orva_accelerator::client
