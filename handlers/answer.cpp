#include "handlers/answer.h"

#include <cassert>
#include <limits>
#include <new>

#include "handlers/text_conversion.h"

namespace orva_accelerator::ipc {

std::uint16_t textSize(std::wstring_view text) {
  return static_cast<std::uint16_t>(utf8Size(text));
}

Answer::Answer(std::uint64_t length) {
  if (length > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  bytes_.reset(new std::uint8_t[length]);
  length_ = static_cast<std::uint32_t>(length);
}

std::uint8_t* Answer::release() {
  assert(filled_ == length_);
  std::memset(end(), 0, length_ - filled_);
  return bytes_.release();
}

bool Answer::appendBytes(const void* bytes, std::size_t size) {
  if (size > length_ - filled_) return false;
  std::memcpy(end(), bytes, size);
  filled_ += static_cast<std::uint32_t>(size);
  return true;
}

void Answer::appendText(std::wstring_view text, std::uint8_t* lengthField) {
  const auto size = static_cast<std::uint16_t>(writeUtf8(text, end(), length_ - filled_));
  std::memcpy(lengthField, &size, sizeof(size));
  filled_ += size;
}

}  // namespace orva_accelerator::ipc
