// A client that behaves, beside others that do not.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>

namespace orva_accelerator::test {

// Asks for a heartbeat again and again on a thread of its own: on a connection that it keeps, and
// every time also as a newcomer. Stops when it goes.
class Witness {
 public:
  Witness() : thread_([this] { watch(); }) {}
  Witness(const Witness&) = delete;
  Witness& operator=(const Witness&) = delete;
  ~Witness() { stop(); }

  void stop();

  std::size_t asked() const { return asked_; }
  // Questions that were not answered within the patience of a test.
  std::size_t unanswered() const { return unanswered_; }
  std::chrono::milliseconds slowest() const { return std::chrono::milliseconds(slowestMs_); }
  // Waits until so many more questions were answered.
  [[nodiscard]] bool seesAnswers(std::size_t more) const;

 private:
  void watch();

  std::atomic<bool> leaving_ = false;
  std::atomic<std::size_t> asked_ = 0;
  std::atomic<std::size_t> unanswered_ = 0;
  std::atomic<std::int64_t> slowestMs_ = 0;
  std::thread thread_;
};

}  // namespace orva_accelerator::test
