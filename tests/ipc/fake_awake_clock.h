// The clock by which broadcasts are bounded, in the test's hand.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

#include "tests/support/bounded_wait.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {

// Stands at a second until it is put forward.
class FakeAwakeClock {
 public:
  FakeAwakeClock() {
    hook_.replace([this](PULONGLONG hundredNanoseconds) -> BOOL {
      *hundredNanoseconds = static_cast<ULONGLONG>(nowMs_) * 10'000;
      ++looks_;
      return TRUE;
    });
  }

  // Milliseconds since this object was made.
  void set(std::int64_t ms) { nowMs_ = kBegin + ms; }

  // Whoever looks at it several times a second has done so, and acted on it, since it was set.
  [[nodiscard]] bool isLookedAt() const {
    const std::size_t before = looks_;
    return waitUntil([&] { return looks_ >= before + 3; });
  }

 private:
  static constexpr std::int64_t kBegin = 1000;

  std::atomic<std::int64_t> nowMs_{kBegin};
  std::atomic<std::size_t> looks_{0};
  ImportHook<decltype(QueryUnbiasedInterruptTime)> hook_{"kernel32.dll",
                                                         "QueryUnbiasedInterruptTime"};
};

}  // namespace orva_accelerator::test
