// Bounds how long a blocking pipe write may take.
//
// A push client that lets its pipe fill up would otherwise hold the library's thread, and with it
// every later notification to everybody, for as long as it likes. A write that has not finished
// after kWriteTimeout is cancelled and fails with ERROR_OPERATION_ABORTED, as a write to a client
// that cannot be reached.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>

namespace orva_accelerator::ipc {

inline constexpr std::chrono::milliseconds kWriteTimeout{2000};

// Puts the calling thread under watch for as long as this object lives. Used by that thread alone.
// One timer of the process looks at all watched threads, several times a second and only while
// there are any. Where it cannot be created, writes are not bounded.
class WatchedThread {
 public:
  WatchedThread();
  WatchedThread(const WatchedThread&) = delete;
  WatchedThread& operator=(const WatchedThread&) = delete;
  ~WatchedThread();

  // Around one write. Between the two, and at no other time, the thread's blocked call may be
  // cancelled.
  void beginWrite();
  void endWrite();

 private:
  friend class WriteWatchdog;

  DWORD threadId_;
  std::int64_t writeStartedMs_ = 0;  // 0: not writing. Guarded by the watchdog's mutex.
  WatchedThread* next_ = nullptr;    // Guarded by the watchdog's mutex.
  WatchedThread* previous_ = nullptr;
};

}  // namespace orva_accelerator::ipc
