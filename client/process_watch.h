// Whether a process that belongs to somebody else has ended.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>

#include "win32/unique_handle.h"

namespace orva_accelerator::client {

// An ordinary user may not open a process of LocalSystem at all, not even to wait for it; then the
// list of processes, which everybody may read, is asked instead. Where the process can be opened,
// the id cannot be taken over by another process while it is watched.
class ProcessWatch {
 public:
  // Id 0 stands for no process: it has ended.
  explicit ProcessWatch(std::uint32_t processId);

  std::uint32_t processId() const { return processId_; }
  // False where only the list tells: the id may be another process's by now.
  bool holdsId() const { return absent_ || process_; }

  // True when it has ended within that time. Without a handle to wait for, it looks once before and
  // once after the wait, so callers wait in short turns.
  bool endedWithin(std::uint32_t milliseconds) const;
  bool hasEnded() const { return endedWithin(0); }

  // Of a process that has ended; nothing where the system does not tell.
  std::optional<std::uint32_t> exitCode() const;

 private:
  std::uint32_t processId_;
  bool absent_ = false;  // There was no such process from the beginning.
  win32::UniqueKernelHandle process_;
};

// Whether a process of this id is in the system's list. True when the list cannot be had, so that
// nobody takes a failure for the end of a process.
bool isListed(std::uint32_t processId);

}  // namespace orva_accelerator::client
