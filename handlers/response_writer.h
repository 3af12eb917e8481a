// Making the response that a handler hands back.
#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>
#include <type_traits>

namespace orva_accelerator::ipc {

// What a length field says of its text: the length modulo 65536.
inline std::uint16_t textLength(std::string_view text) {
  return static_cast<std::uint16_t>(text.size());
}

// Allocates the response once, at its exact length, and fills it from front to back. What is not
// written stays uninitialised, so a handler writes every byte that it has asked for.
//
// Throws std::bad_alloc for a response whose length does not fit its 32 bits.
class ResponseWriter {
 public:
  ResponseWriter(void*& response, std::uint32_t& responseLength, std::uint64_t length) {
    if (length > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
    next_ = new std::uint8_t[length];
    response = next_;
    responseLength = static_cast<std::uint32_t>(length);
  }

  template <typename Record>
  void write(const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    append(&record, sizeof(record));
  }
  // As many bytes as the text's length field says.
  void writeText(std::string_view text) { append(text.data(), textLength(text)); }

 private:
  void append(const void* bytes, std::size_t size) {
    if (size == 0) return;  // An empty view may point to nothing, which memcpy must not be given.
    std::memcpy(next_, bytes, size);
    next_ += size;
  }

  std::uint8_t* next_;
};

// A response of one fixed record.
template <typename Record>
void respond(const Record& record, void*& response, std::uint32_t& responseLength) {
  ResponseWriter(response, responseLength, sizeof(record)).write(record);
}

}  // namespace orva_accelerator::ipc
