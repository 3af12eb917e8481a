// The clocks by which the service measures; neither ever goes backwards, and their zeros mean
// nothing.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>

namespace orva_accelerator::ipc {

// Milliseconds of the steady clock, truncated: every time stamp that the service keeps.
inline std::int64_t monotonicMs() {
  const auto sinceZero = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceZero).count() / 1'000'000;
}

// Milliseconds for which the computer was awake, in steps of up to 16: how long somebody has been
// waited for. A fraction of the price of the above.
inline std::int64_t awakeMs() {
  ULONGLONG hundredNanoseconds = 0;
  // Fails only without a place for the result.
  (void)QueryUnbiasedInterruptTime(&hundredNanoseconds);
  return static_cast<std::int64_t>(hundredNanoseconds / 10'000);
}

}  // namespace orva_accelerator::ipc
