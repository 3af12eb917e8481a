#include "ipc/payload_buffer.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace orva_accelerator::ipc {

namespace {

// For connections that have had no payload yet. Shared, because nobody ever writes to it; not
// const, so that it takes no room in the executable file.
constinit std::uint8_t noPayload[PayloadBuffer::kReadMargin] = {};

std::uint8_t* allocateZeroedPages(std::size_t size) {
  void* const pages = VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (pages == nullptr) throw std::bad_alloc();
  return static_cast<std::uint8_t*>(pages);
}

void freePages(std::uint8_t* pages) {
  if (pages == nullptr) return;
  (void)VirtualFree(pages, 0, MEM_RELEASE);  // Fails only for memory that is not ours.
}

}  // namespace

PayloadBuffer::~PayloadBuffer() {
  freePages(memory_);
}

void PayloadBuffer::reserve(std::size_t size) {
  if (size <= capacity_) return;
  const std::size_t grown = std::max(size, capacity_ + capacity_ / 2);
  if (grown > std::numeric_limits<std::size_t>::max() - kReadMargin) throw std::bad_alloc();
  std::uint8_t* const larger = allocateZeroedPages(grown + kReadMargin);
  if (memory_ != nullptr) std::memcpy(larger, memory_, capacity_);
  freePages(memory_);
  memory_ = larger;
  capacity_ = grown;
}

const void* PayloadBuffer::readable() const {
  return memory_ != nullptr ? memory_ : noPayload;
}

}  // namespace orva_accelerator::ipc
