// An acceleration library that accepts, refuses and completes at random.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {

// Completes inside its functions and on two threads of its own, several times or never, while other
// starts and stops are under way.
class StormLibrary {
 public:
  StormLibrary(FakeKernel& kernel, unsigned seed);
  ~StormLibrary();

  // From now on every start and stop is answered `accepted` and completes nothing, or is left to
  // chance again.
  void obey(bool accepted);
  void storm();

  // Reports on the calling thread.
  void reportState(std::uint32_t state);
  void reportStop(int code);

  // Waits until everything that is due has been reported. False if that takes too long.
  bool drain();

  // The sequence numbers of all results reported, in the order in which their reports ended.
  std::vector<std::uint32_t> reported() const;

 private:
  sdk::KernelBool onStart();
  sdk::KernelBool onStop();
  void completeOnThread();
  unsigned roll(unsigned sides);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::mt19937 random_;
  bool obeying_ = false;
  bool accepting_ = true;
  bool ending_ = false;
  std::deque<std::function<void()>> due_;
  int busy_ = 0;
  std::uint32_t nextSequence_ = 1;
  std::vector<std::uint32_t> reported_;
  std::vector<std::thread> threads_;
};

}  // namespace orva_accelerator::test
