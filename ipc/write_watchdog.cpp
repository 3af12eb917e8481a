#include "ipc/write_watchdog.h"

#include <mutex>
#include <utility>

#include "ipc/monotonic_clock.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::ipc {

namespace {

// How much later than its time a write may be cancelled, but for the steps of the system's clock.
constexpr DWORD kLookEveryMs = 10;

}  // namespace

// The process's one watchdog. Never destroyed: the library's threads may broadcast until the
// process ends.
class WriteWatchdog {
 public:
  static WriteWatchdog& instance() {
    static auto* const watchdog = new WriteWatchdog;
    return *watchdog;
  }

  void prepare() {
    const std::lock_guard lock(mutex_);
    makeTimer();
  }

  void add(WatchedThread& thread) {
    const std::lock_guard lock(mutex_);
    thread.next_ = first_;
    if (first_ != nullptr) first_->previous_ = &thread;
    const bool wasAlone = std::exchange(first_, &thread) == nullptr;
    // Without a timer, earlier broadcasts may be waiting already, and for good.
    if (wasAlone || timer_ == nullptr) arm();
  }

  void remove(WatchedThread& thread) {
    const std::lock_guard lock(mutex_);
    if (thread.next_ != nullptr) thread.next_->previous_ = thread.previous_;
    if (thread.previous_ != nullptr) {
      thread.previous_->next_ = thread.next_;
    } else {
      first_ = thread.next_;
    }
    if (first_ == nullptr && timer_ != nullptr) SetThreadpoolTimer(timer_, nullptr, 0, 0);
  }

  void setFrame(WatchedThread& thread, const PushPipe* pipe, std::int64_t frameBeganMs) {
    const std::lock_guard lock(mutex_);
    thread.pipe_ = pipe;
    thread.frameBeganMs_ = frameBeganMs;
  }

 private:
  static void CALLBACK onTimer(PTP_CALLBACK_INSTANCE /*instance*/, void* context,
                               PTP_TIMER /*timer*/) {
    static_cast<WriteWatchdog*>(context)->cancelOverdueFrames();
  }

  // With a thread of its own: those of the process's pool may all be busy with the library's work.
  void makeTimer() {
    if (timer_ != nullptr) return;
    if (pool_ == nullptr) pool_ = CreateThreadpool(nullptr);
    if (pool_ == nullptr) return;
    SetThreadpoolThreadMaximum(pool_, 1);
    if (!SetThreadpoolThreadMinimum(pool_, 1)) return;
    TP_CALLBACK_ENVIRON environment;
    InitializeThreadpoolEnvironment(&environment);
    SetThreadpoolCallbackPool(&environment, pool_);
    timer_ = CreateThreadpoolTimer(&WriteWatchdog::onTimer, this, &environment);
  }

  void arm() {
    makeTimer();
    if (timer_ == nullptr) return;
    ULARGE_INTEGER due;
    due.QuadPart = static_cast<ULONGLONG>(-static_cast<LONGLONG>(kLookEveryMs) * 10'000);
    FILETIME relativeDue = {due.LowPart, due.HighPart};
    SetThreadpoolTimer(timer_, &relativeDue, kLookEveryMs, 0);
  }

  // Holds the mutex throughout, so that a thread that has passed endFrame is never cancelled in
  // whatever it does next. A write that is not yet in the system's hands, because its thread was
  // kept from running, is found again at the next look.
  void cancelOverdueFrames() {
    const std::lock_guard lock(mutex_);
    const std::int64_t now = awakeMs();
    for (const WatchedThread* thread = first_; thread != nullptr; thread = thread->next_) {
      if (thread->frameBeganMs_ == 0) continue;
      if (now < thread->frameBeganMs_ + kFurtherPatience.count()) continue;
      if (isAnybodyOutOfPatience(*thread->pipe_, now)) cancelBlockedCall(thread->threadId_);
    }
  }

  bool isAnybodyOutOfPatience(const PushPipe& pipe, std::int64_t now) const {
    for (const WatchedThread* thread = first_; thread != nullptr; thread = thread->next_) {
      if (thread->pipe_ == &pipe && thread->patientUntilMs_ <= now) return true;
    }
    return false;
  }

  static void cancelBlockedCall(DWORD threadId) {
    const win32::UniqueKernelHandle thread(OpenThread(THREAD_TERMINATE, FALSE, threadId));
    // Tried again at the next look.
    if (!thread) return;
    // Likewise: the call may not have begun, or be done.
    (void)CancelSynchronousIo(thread.get());
  }

  std::mutex mutex_;
  WatchedThread* first_ = nullptr;
  PTP_POOL pool_ = nullptr;
  PTP_TIMER timer_ = nullptr;
};

void prepareWriteWatchdog() {
  WriteWatchdog::instance().prepare();
}

WatchedThread::WatchedThread()
    : threadId_(GetCurrentThreadId()), patientUntilMs_(awakeMs() + kBroadcastPatience.count()) {
  WriteWatchdog::instance().add(*this);
}

WatchedThread::~WatchedThread() {
  WriteWatchdog::instance().remove(*this);
}

void WatchedThread::waitFor(const PushPipe& pipe) {
  WriteWatchdog::instance().setFrame(*this, &pipe, 0);
}

void WatchedThread::beginFrame(const PushPipe& pipe) {
  WriteWatchdog::instance().setFrame(*this, &pipe, awakeMs());
}

void WatchedThread::endFrame() {
  WriteWatchdog::instance().setFrame(*this, nullptr, 0);
}

}  // namespace orva_accelerator::ipc
