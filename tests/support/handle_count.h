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

// Counted one by one, which takes some microseconds a handle: handles that are opened and closed
// meanwhile may be counted or not. Nothing if the process does not let its handles be seen. 0 for a
// process that does not exist.
//
// Under Wine, GetProcessHandleCount answers 0, and whoever asks for the system's list of all
// handles brings the Wine server down, and with it every program of the prefix, when a process
// there has no handle in that moment: one that was started from outside Wine has none at first.
std::optional<HandleCounts> handleCounts(DWORD processId = GetCurrentProcessId());

// All of them.
std::optional<std::size_t> handleCount(DWORD processId = GetCurrentProcessId());

}  // namespace orva_accelerator::test
