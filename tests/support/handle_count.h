// How many handles a process holds.
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>

namespace orva_accelerator::test {

struct HandleCounts {
  std::size_t threads = 0;
  std::size_t others = 0;

  std::size_t all() const { return threads + others; }
};

// Counted from the system's list of all handles, because GetProcessHandleCount answers 0 under
// Wine. Nothing if the list cannot be had. 0 for a process that does not exist.
std::optional<HandleCounts> handleCounts(DWORD processId = GetCurrentProcessId());

// All of them.
std::optional<std::size_t> handleCount(DWORD processId = GetCurrentProcessId());

}  // namespace orva_accelerator::test
