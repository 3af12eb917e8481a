#include "ipc/write_watchdog.h"

#include <mutex>

#include "win32/unique_handle.h"

namespace orva_accelerator::ipc {

namespace {

// How much later than kWriteTimeout a write may be cancelled.
constexpr DWORD kLookEveryMs = 100;

// Ticks in steps of up to 16 ms, which is exact enough here. Two questions to the service's own
// clock for each client made more than half of what a notification cost beside its writes.
std::int64_t tickMs() {
  return static_cast<std::int64_t>(GetTickCount64());
}

}  // namespace

// The process's one watchdog. Never destroyed: the library's threads may broadcast until the
// process ends.
class WriteWatchdog {
 public:
  static WriteWatchdog& instance() {
    static auto* const watchdog = new WriteWatchdog;
    return *watchdog;
  }

  void add(WatchedThread& thread) {
    const std::lock_guard lock(mutex_);
    thread.next_ = first_;
    if (first_ != nullptr) {
      first_->previous_ = &thread;
    } else {
      arm();
    }
    first_ = &thread;
  }

  void remove(WatchedThread& thread) {
    const std::lock_guard lock(mutex_);
    if (thread.next_ != nullptr) thread.next_->previous_ = thread.previous_;
    if (thread.previous_ != nullptr) {
      thread.previous_->next_ = thread.next_;
    } else {
      first_ = thread.next_;
    }
    if (first_ == nullptr) disarm();
  }

  void setWriteStart(WatchedThread& thread, std::int64_t startedMs) {
    const std::lock_guard lock(mutex_);
    thread.writeStartedMs_ = startedMs;
  }

 private:
  static void CALLBACK onTimer(PTP_CALLBACK_INSTANCE /*instance*/, void* context,
                               PTP_TIMER /*timer*/) {
    static_cast<WriteWatchdog*>(context)->cancelOverdueWrites();
  }

  void arm() {
    if (timer_ == nullptr) timer_ = CreateThreadpoolTimer(&WriteWatchdog::onTimer, this, nullptr);
    if (timer_ == nullptr) return;  // Writes are not bounded; the next broadcast tries again.
    ULARGE_INTEGER due;
    due.QuadPart = static_cast<ULONGLONG>(-static_cast<LONGLONG>(kLookEveryMs) * 10'000);
    FILETIME relativeDue = {due.LowPart, due.HighPart};
    SetThreadpoolTimer(timer_, &relativeDue, kLookEveryMs, 0);
  }

  void disarm() {
    if (timer_ != nullptr) SetThreadpoolTimer(timer_, nullptr, 0, 0);
  }

  // Holds the mutex throughout, so that a thread that has passed endWrite is never cancelled in
  // whatever it does next. A write that is overdue but not yet in the system's hands, because its
  // thread was kept from running, is found again at the next look.
  void cancelOverdueWrites() {
    const std::lock_guard lock(mutex_);
    const std::int64_t overdueSince = tickMs() - kWriteTimeout.count();
    for (WatchedThread* thread = first_; thread != nullptr; thread = thread->next_) {
      if (thread->writeStartedMs_ != 0 && thread->writeStartedMs_ <= overdueSince) {
        cancelBlockedCall(thread->threadId_);
      }
    }
  }

  static void cancelBlockedCall(DWORD threadId) {
    const win32::UniqueKernelHandle thread(OpenThread(THREAD_TERMINATE, FALSE, threadId));
    if (!thread) return;                      // Tried again at the next look.
    (void)CancelSynchronousIo(thread.get());  // Likewise: the call may not have begun, or be done.
  }

  std::mutex mutex_;
  WatchedThread* first_ = nullptr;
  PTP_TIMER timer_ = nullptr;
};

WatchedThread::WatchedThread() : threadId_(GetCurrentThreadId()) {
  WriteWatchdog::instance().add(*this);
}

WatchedThread::~WatchedThread() {
  WriteWatchdog::instance().remove(*this);
}

void WatchedThread::beginWrite() {
  WriteWatchdog::instance().setWriteStart(*this, tickMs());
}

void WatchedThread::endWrite() {
  WriteWatchdog::instance().setWriteStart(*this, 0);
}

}  // namespace orva_accelerator::ipc
