// Bounds how long a broadcast waits for clients that do not read.
//
// A push client that lets its pipe fill up would otherwise hold the library's thread, and with it
// every later notification to everybody, for as long as it likes. A write that waits when the time
// is over is cancelled and fails with ERROR_OPERATION_ABORTED, as one to a client that cannot be
// reached. A client whose pipe has room is never given up, however busy the computer is. Times are
// those for which the computer was awake.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>

namespace orva_accelerator::ipc {

class PushPipe;

// A broadcast waits so long in all for clients whose pipes are full,
inline constexpr std::chrono::milliseconds kBroadcastPatience{2000};
// and then so long for each further one: from the moment in which a frame begins, its own or that
// of another broadcast whose turn comes first.
inline constexpr std::chrono::milliseconds kFurtherPatience{50};

// Makes the timer and the thread on which it looks, so that they are there whatever the system has
// left when they are needed. What could not be made is tried again by every WatchedThread that
// begins; until it succeeds, writes are not bounded.
void prepareWriteWatchdog();

// Puts the calling thread under watch for one broadcast. Used by that thread alone. One timer of
// the process looks at all watched threads, many times a second and only while there are any.
class WatchedThread {
 public:
  WatchedThread();
  WatchedThread(const WatchedThread&) = delete;
  WatchedThread& operator=(const WatchedThread&) = delete;
  ~WatchedThread();

  // Another thread's frame is under way on the pipe: it is cancelled when this thread's patience is
  // over, too.
  void waitFor(const PushPipe& pipe);

  // Around one frame. Between the two, and at no other time, the thread's blocked call may be
  // cancelled.
  void beginFrame(const PushPipe& pipe);
  void endFrame();

 private:
  friend class WriteWatchdog;

  const DWORD threadId_;
  const std::int64_t patientUntilMs_;
  // Guarded by the watchdog's mutex.
  const PushPipe* pipe_ = nullptr;  // Null: neither in a frame nor waiting for one.
  std::int64_t frameBeganMs_ = 0;   // 0: not in a frame.
  WatchedThread* next_ = nullptr;
  WatchedThread* previous_ = nullptr;
};

}  // namespace orva_accelerator::ipc
