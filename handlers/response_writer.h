// Making the response that a handler hands back.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace orva_accelerator::ipc {

// Allocates the response once, at its exact length, and fills it from front to back. What is not
// written stays uninitialised, so a handler writes every byte that it has asked for.
class ResponseWriter {
 public:
  ResponseWriter(void*& response, std::uint32_t& responseLength, std::uint32_t length)
      : next_(new std::uint8_t[length]) {
    response = next_;
    responseLength = length;
  }

  template <typename Record>
  void write(const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    append(&record, sizeof(record));
  }
  // As many bytes as the text's length field says, which is its length modulo 65536.
  void writeText(const std::string& text) {
    append(text.data(), static_cast<std::uint16_t>(text.size()));
  }

 private:
  void append(const void* bytes, std::size_t size) {
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
