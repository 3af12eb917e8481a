#include "simulator/completion_threads.h"

#include <windows.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "simulator/call_log.h"
#include "simulator/module_files.h"

namespace orva_accelerator::simulator {
namespace {

constexpr unsigned kMaximumThreads = 64;
constexpr std::chrono::milliseconds kIdleTime{200};

class Schedule {
 public:
  void add(CompletionClock::time_point due, std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.emplace(due, std::move(task));
    if (idle_ == 0) startThread();
    changed_.notify_one();
  }

  // The life of one thread.
  void work() {
    std::unique_lock lock(mutex_);
    while (waitForTask(lock)) {
      const std::function<void()> task = std::move(tasks_.begin()->second);
      tasks_.erase(tasks_.begin());
      // Somebody must watch over what is left while this task runs.
      if (!tasks_.empty() && idle_ == 0) startThread();
      lock.unlock();
      task();
      lock.lock();
      ++idle_;
    }
    --threads_;
  }

 private:
  // True: the first task is due. False: there has been nothing to wait for.
  bool waitForTask(std::unique_lock<std::mutex>& lock) {
    const auto lastWait = CompletionClock::now() + kIdleTime;
    for (;;) {
      const auto now = CompletionClock::now();
      if (!tasks_.empty() && tasks_.begin()->first <= now) break;
      if (tasks_.empty() && now >= lastWait) break;
      const auto until = tasks_.empty() ? lastWait : tasks_.begin()->first;
      (void)changed_.wait_until(lock, until);  // Whatever ended the wait, the loop looks again.
    }
    --idle_;
    return !tasks_.empty();
  }

  // With the mutex held.
  void startThread();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::multimap<CompletionClock::time_point, std::function<void()>> tasks_;
  unsigned threads_ = 0;
  unsigned idle_ = 0;  // Of these, the ones that run no task, or are still starting.
};

Schedule& theSchedule() {
  static Schedule& schedule = *new Schedule;
  return schedule;
}

// Lets threads through when all of them are there. Not std::latch: with the compiler's library for
// this platform its waiters are not always woken.
class Gate {
 public:
  explicit Gate(unsigned expected) : missing_(expected) {}

  void pass() {
    std::unique_lock lock(mutex_);
    if (--missing_ == 0) opened_.notify_all();
    opened_.wait(lock, [this] { return missing_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  unsigned missing_;
};

DWORD WINAPI threadMain(void* library) {
  theSchedule().work();
  // Every object of this thread is gone by now, which matters because this call does not return.
  FreeLibraryAndExitThread(static_cast<HMODULE>(library), 0);
}

void Schedule::startThread() {
  if (threads_ == kMaximumThreads) return;
  const HMODULE library = holdLibrary();
  if (library == nullptr) {
    logLine("problem: no reference on the library for a thread");
    return;
  }
  const HANDLE thread = CreateThread(nullptr, 0, &threadMain, library, 0, nullptr);
  if (thread == nullptr) {
    (void)FreeLibrary(library);  // The caller's own reference keeps the library loaded.
    logLine("problem: a thread could not be started");
    return;
  }
  (void)CloseHandle(thread);  // Nobody waits for the thread.
  ++threads_;
  ++idle_;
}

}  // namespace

void runLater(CompletionClock::time_point due, std::function<void()> task) {
  theSchedule().add(due, std::move(task));
}

void runTogether(unsigned threads, const std::function<void()>& task) {
  if (threads <= 1) {
    task();
    return;
  }
  Gate together(threads);
  const auto run = [&together, &task] {
    together.pass();
    task();
  };
  std::vector<std::thread> others;
  others.reserve(threads - 1);
  for (unsigned i = 1; i < threads; ++i) others.emplace_back(run);
  run();
  for (std::thread& other : others) other.join();
}

}  // namespace orva_accelerator::simulator
