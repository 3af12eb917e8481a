// The clock behind every time stamp that the service keeps.
#pragma once

#include <chrono>
#include <cstdint>

namespace orva_accelerator::ipc {

// Milliseconds of the steady clock, truncated. Never goes backwards; its zero means nothing.
inline std::int64_t monotonicMs() {
  const auto sinceZero = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceZero).count() / 1'000'000;
}

}  // namespace orva_accelerator::ipc
