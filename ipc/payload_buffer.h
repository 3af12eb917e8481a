// The memory into which one connection's request payloads are read.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ipc/wire/messages.h"

namespace orva_accelerator::ipc {

// Handlers take the lengths that a client sends as they stand; nothing compares them with the
// length of the payload. What makes that safe is this buffer: behind the payload, it always has
// kReadMargin more bytes of its own that can be read, so the furthest read that any handler can
// make stays inside memory of this connection. Those bytes are zero unless an earlier, longer
// payload of the same connection left something there.
//
// The memory comes from the system page by page as it is touched: the margin costs address space
// and nothing else. Used by one thread.
class PayloadBuffer {
 public:
  // The furthest that a handler may read: a fixed part, and its texts at their longest.
  static constexpr std::size_t kReadMargin = longestRequest();

  PayloadBuffer() = default;
  PayloadBuffer(const PayloadBuffer&) = delete;
  PayloadBuffer& operator=(const PayloadBuffer&) = delete;
  ~PayloadBuffer();

  // Makes room for `size` bytes and keeps what is there. Grows to the larger of `size` and one and
  // a half times the old capacity, and never shrinks. Throws std::bad_alloc.
  void reserve(std::size_t size);

  // Bytes that may be written; the read margin lies behind them.
  std::size_t capacity() const { return capacity_; }

  // Where payloads are read to. Null while the capacity is 0.
  std::uint8_t* data() { return memory_; }

  // What handlers are given: readable for capacity() + kReadMargin bytes, never null.
  const void* readable() const;

 private:
  std::uint8_t* memory_ = nullptr;
  std::size_t capacity_ = 0;
};

}  // namespace orva_accelerator::ipc
