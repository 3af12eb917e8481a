// A call that may block for longer than a test may wait.
#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <utility>

#include "tests/support/bounded_wait.h"
#include "win32/detached_thread.h"

namespace orva_accelerator::test {

// Runs the call on a thread of its own, which nobody joins: what the call refers to must outlive
// it, or the test must have seen it end.
class BackgroundCall {
 public:
  template <typename Call>
  explicit BackgroundCall(Call call) {
    auto promise = std::make_shared<std::promise<void>>();
    ended_ = promise->get_future();
    win32::startDetachedThread([promise, call = std::move(call)]() mutable {
      call();
      promise->set_value();
    });
  }

  [[nodiscard]] bool ends(std::chrono::milliseconds limit = kPatience) const {
    return ended_.wait_for(limit) == std::future_status::ready;
  }

 private:
  std::future<void> ended_;
};

}  // namespace orva_accelerator::test
