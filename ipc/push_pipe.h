// The server's end of one push connection.
#pragma once

#include <windows.h>

#include <condition_variable>
#include <mutex>

#include "ipc/write_watchdog.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::ipc {

// A broadcast writes to a snapshot of the table without holding the table's mutex, while the
// client may leave, register anew or be dropped by another broadcast. The system may give a closed
// handle's value to a new pipe at once, so closing waits for a frame that is under way, and no
// frame begins on a pipe that was closed: a frame reaches the pipe that was registered, or none.
//
// One frame at a time is on its way through a pipe, and none any more once one of them did not go
// out whole: the client receives whole frames, of which the last may be cut off by the end of the
// connection. Broadcasts wait for their turn here, not in the system, where a write that waits for
// another one cannot be cancelled before it has begun.
//
// Shared by the table and the broadcasts. Callable from any thread.
class PushPipe {
 public:
  explicit PushPipe(win32::UniqueFileHandle pipe);
  PushPipe(const PushPipe&) = delete;
  PushPipe& operator=(const PushPipe&) = delete;

  // For calls that are made while the table's mutex keeps the pipe from being closed.
  HANDLE get() const { return handle_.get(); }

  // Closes the pipe now, or at the end of the frame that is under way. Who waits to write, stops.
  void close();

  // Leaves the pipe open until the process ends.
  void abandon();

  // The right to write one frame, for as long as this object lives.
  class Writer {
   public:
    // Waits for its turn; the watchdog knows that it does.
    Writer(PushPipe& pipe, WatchedThread& watched);
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    // Passes the turn on.
    ~Writer();

    // INVALID_HANDLE_VALUE, writing to which fails, if the pipe was closed before or has failed.
    HANDLE get() const { return handle_; }

    // The frame has not gone out whole: nobody writes any more, and whoever waits to, stops.
    void fail();

   private:
    PushPipe& pipe_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
  };

 private:
  std::mutex mutex_;
  std::condition_variable turn_;
  win32::UniqueFileHandle handle_;
  bool closed_ = false;
  bool failed_ = false;
  bool taken_ = false;  // Somebody has the turn.
  int writers_ = 0;     // Whether they have it or wait for it.
};

}  // namespace orva_accelerator::ipc
