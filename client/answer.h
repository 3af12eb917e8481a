// An answer of the service: a flat record that owns what it points to.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include "client/bytes.h"
#include "client/include/orva_answers.h"

namespace orva_accelerator::client {

struct FreeAnswer {
  void operator()(void* record) const noexcept { ::operator delete(record); }
};
// What is released from it goes to orva_free.
template <typename Record>
using Answer = std::unique_ptr<Record, FreeAnswer>;

// The one block of memory in which a record lies, its texts and everything else behind it.
class AnswerBlock {
 public:
  // As much as `records` bytes of records and `texts` texts with `bytes` bytes together can need.
  AnswerBlock(std::size_t records, std::size_t texts, std::size_t bytes)
      : memory_(::operator new(aligned(records + kMostPadding + texts + bytes))) {}

  // Zeroed. All records are made before the first text, so that they are aligned.
  template <typename Record>
  Record* make(std::size_t count = 1) {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) <= kAlignment);
    used_ = aligned(used_);
    void* const place = take(count * sizeof(Record));
    return static_cast<Record*>(std::memset(place, 0, count * sizeof(Record)));
  }

  // A copy with a zero behind it.
  orva_text text(ByteView bytes) {
    char* const place = static_cast<char*>(take(bytes.size() + 1));
    // Not memcpy, which takes no null pointer, as no bytes may be.
    std::ranges::copy(bytes, place);
    place[bytes.size()] = '\0';
    return orva_text{place, bytes.size()};
  }

  // The block, as the record that was made first.
  template <typename Record>
  Answer<Record> Release(Record* /*first*/) {
    return Answer<Record>(static_cast<Record*>(memory_.release()));
  }

 private:
  static constexpr std::size_t kAlignment = 8;
  static constexpr std::size_t kMostPadding = 2 * kAlignment;  // Between up to three records.

  // Also for the block as a whole: memory is aligned only as objects of its size can be.
  static constexpr std::size_t aligned(std::size_t size) {
    return (size + kAlignment - 1) / kAlignment * kAlignment;
  }

  void* take(std::size_t size) {
    void* const place = static_cast<std::byte*>(memory_.get()) + used_;
    used_ += size;
    return place;
  }

  Answer<void> memory_;
  std::size_t used_ = 0;
};

}  // namespace orva_accelerator::client
