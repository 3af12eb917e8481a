// A point in time that an operation must not outlast.
#pragma once

#include <chrono>
#include <cstdint>

namespace orva_accelerator::client {

class Deadline {
 public:
  using Clock = std::chrono::steady_clock;

  static Deadline after(std::chrono::milliseconds duration) {
    return Deadline(Clock::now() + duration);
  }

  bool passed() const { return Clock::now() >= end_; }

  // For Win32 waits: whole milliseconds, rounded up so that a wait never ends just before the
  // deadline, and never the value that means "for ever".
  std::uint32_t remainingMs() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
    if (left <= 0) return 0;
    return left > kLongestWaitMs ? kLongestWaitMs : static_cast<std::uint32_t>(left);
  }

 private:
  static constexpr std::uint32_t kLongestWaitMs = 0x7FFFFFFF;

  explicit Deadline(Clock::time_point end) : end_(end) {}

  Clock::time_point end_;
};

}  // namespace orva_accelerator::client
