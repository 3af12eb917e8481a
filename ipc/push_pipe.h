// The server's end of one push connection.
#pragma once

#include <windows.h>

#include <mutex>
#include <utility>

#include "win32/unique_handle.h"

namespace orva_accelerator::ipc {

// A broadcast writes to a snapshot of the table without holding the table's mutex, while the
// client may leave, register anew or be dropped by another broadcast. The system may give a closed
// handle's value to a new pipe at once, so closing waits for a write that is under way, and no
// write begins on a pipe that was closed: a frame reaches the pipe that was registered, or none.
//
// Shared by the table and the broadcasts. Callable from any thread.
class PushPipe {
 public:
  explicit PushPipe(win32::UniqueFileHandle pipe) : handle_(std::move(pipe)) {}
  PushPipe(const PushPipe&) = delete;
  PushPipe& operator=(const PushPipe&) = delete;

  // For calls that are made while the table's mutex keeps the pipe from being closed.
  HANDLE get() const { return handle_.get(); }

  // Closes the pipe now, or at the end of the last write that is under way.
  void close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    if (writers_ == 0) handle_.reset();
  }

  // Leaves the pipe open until the process ends.
  void abandon() {
    const std::lock_guard lock(mutex_);
    (void)handle_.release();  // Deliberately nobody's.
  }

  // The right to write to the pipe, for as long as this object lives.
  class Writer {
   public:
    explicit Writer(PushPipe& pipe) : pipe_(pipe) {
      const std::lock_guard lock(pipe_.mutex_);
      if (!pipe_.closed_) handle_ = pipe_.handle_.get();
      ++pipe_.writers_;
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() {
      const std::lock_guard lock(pipe_.mutex_);
      if (--pipe_.writers_ == 0 && pipe_.closed_) pipe_.handle_.reset();
    }
    // INVALID_HANDLE_VALUE if the pipe was closed before; writing to that fails.
    HANDLE get() const { return handle_; }

   private:
    PushPipe& pipe_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
  };

 private:
  std::mutex mutex_;
  win32::UniqueFileHandle handle_;
  bool closed_ = false;
  int writers_ = 0;
};

}  // namespace orva_accelerator::ipc
