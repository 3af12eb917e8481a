#include "ipc/monotonic_clock.h"

#include <chrono>

namespace orva_accelerator::ipc {

std::int64_t monotonicMs() {
  const auto sinceZero = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceZero).count() / 1'000'000;
}

}  // namespace orva_accelerator::ipc
