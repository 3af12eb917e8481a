#include "tests/support/bounded_wait.h"

#include <thread>

namespace orva_accelerator::test {

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (std::chrono::steady_clock::now() < deadline) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return condition();
}

}  // namespace orva_accelerator::test
