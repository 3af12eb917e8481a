// The payload of a response, owned by whoever holds it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>

#include "ipc/wire/messages.h"

namespace orva_accelerator::ipc {

// Bytes that a text takes in an answer: those of its UTF-8 form, modulo 65536, which is what its
// length field can say. No text of the library comes near that.
std::uint16_t textSize(std::wstring_view text);

// Allocated once, at its exact length, and filled from front to back. A handler fills it to the
// last byte; what it has missed all the same goes out as zeros, and never as what the heap held
// before.
class Answer {
 public:
  // A record with the texts that follow it, at just their length.
  template <typename Record, typename... Texts>
  static Answer of(const Record& record, const Texts&... texts) {
    Answer answer(sizeOf<Record>(texts...));
    answer.append(record, texts...);
    return answer;
  }

  // For an answer of several records. Throws std::bad_alloc for a length that does not fit 32 bits.
  explicit Answer(std::uint64_t length);

  template <typename Record, typename... Texts>
  static std::uint64_t sizeOf(const Texts&... texts) {
    return (sizeof(Record) + ... + std::uint64_t{textSize(texts)});
  }

  // Adds the record, its texts in UTF-8, and their lengths in the record, whose own are not looked
  // at. What there is no room for is left out.
  template <typename Record, typename... Texts>
  void append(const Record& record, const Texts&... texts) {
    static_assert(std::is_trivially_copyable_v<Record>);
    static_assert(sizeof...(Texts) == kTextLengths<Record>.size(), "one for each length field");
    [[maybe_unused]] std::uint8_t* const fixedPart = end();
    if (!appendBytes(&record, sizeof(record))) return;
    [[maybe_unused]] auto lengthField = kTextLengths<Record>.begin();
    (appendText(texts, fixedPart + *lengthField++), ...);
  }

  std::uint32_t length() const { return length_; }

  // Hands over the bytes, to be released with delete[].
  [[nodiscard]] std::uint8_t* release();

 private:
  std::uint8_t* end() { return bytes_.get() + filled_; }
  bool appendBytes(const void* bytes, std::size_t size);
  void appendText(std::wstring_view text, std::uint8_t* lengthField);

  std::unique_ptr<std::uint8_t[]> bytes_;
  std::uint32_t length_;
  std::uint32_t filled_ = 0;
};

}  // namespace orva_accelerator::ipc
