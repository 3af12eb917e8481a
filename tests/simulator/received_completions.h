// Records what the library hands to its completion functions.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "sdk/kernel_api.h"

namespace orva_accelerator::test {

struct ReceivedAccelResult {
  bool nullRecord = false;
  std::uint32_t value1 = 0, value2 = 0, value3 = 0, value4 = 0, state = 0, value5 = 0;
  std::optional<std::wstring> text1, text2;  // Empty when the library gave a null pointer.
  unsigned long thread = 0;
};

struct ReceivedCode {
  int code = 0;
  unsigned long thread = 0;
};

// Passed to the library as the context, which hands it back as the first argument.
template <typename Item>
class Received {
 public:
  void add(Item item) {
    const std::lock_guard lock(mutex_);
    items_.push_back(std::move(item));
    changed_.notify_all();
  }

  std::vector<Item> all() const {
    const std::lock_guard lock(mutex_);
    return items_;
  }

  // False when fewer arrived within a generous time.
  [[nodiscard]] bool waitFor(std::size_t count) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10),
                             [this, count] { return items_.size() >= count; });
  }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<Item> items_;
};

using ReceivedCodes = Received<ReceivedCode>;
using ReceivedResults = Received<ReceivedAccelResult>;

// Completion functions whose context is a ReceivedCodes or a ReceivedResults.
void receiveCode(void* context, int code, void* unused);
void receiveResult(void* context, void* unused, const sdk::KernelAccelResult* record);

std::vector<int> codesOf(const ReceivedCodes& received);
std::vector<std::uint32_t> statesOf(const ReceivedResults& received);

}  // namespace orva_accelerator::test
