// Bytes that end where memory does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orva_accelerator::fuzz {

// Holds one piece of input after the other, each so that its last byte, and `margin` zeros behind
// it, are the last before an inaccessible page: what reads on is caught as if each piece had a
// block of its own.
class GuardedBytes {
 public:
  GuardedBytes(std::size_t longest, std::size_t margin);
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  // Replaces what is held. `bytes` may be no longer than the longest.
  std::span<const std::uint8_t> hold(std::span<const std::uint8_t> bytes);

 private:
  std::size_t longest_;
  std::uint8_t* end_ = nullptr;  // Of the held bytes. Never freed.
};

}  // namespace orva_accelerator::fuzz
