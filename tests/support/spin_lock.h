// A lock that calls nothing of the system, and so works inside a replaced system function.
#pragma once

#include <atomic>

namespace orva_accelerator::test {

// For a few instructions at a time. Not recursive.
class SpinLock {
 public:
  void lock() noexcept {
    while (held_.test_and_set(std::memory_order_acquire)) {
    }
  }
  void unlock() noexcept { held_.clear(std::memory_order_release); }

 private:
  std::atomic_flag held_;
};

class SpinGuard {
 public:
  explicit SpinGuard(SpinLock& lock) noexcept : lock_(lock) { lock_.lock(); }
  SpinGuard(const SpinGuard&) = delete;
  SpinGuard& operator=(const SpinGuard&) = delete;
  ~SpinGuard() { lock_.unlock(); }

 private:
  SpinLock& lock_;
};

}  // namespace orva_accelerator::test
