#include "tools/load_run.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "tools/interrupt.h"

namespace orva_accelerator::tools {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// How late the end of the time, of the last connection or Ctrl+C may be noticed.
constexpr milliseconds kTurn{50};
constexpr milliseconds kProgressEvery{1000};

class Load {
 public:
  Load(Context& context, const LoadPlan& plan)
      : context_(context), plan_(plan), payload_(plan.payloadBytes, 0) {}

  void start() {
    working_ = plan_.connections;
    for (std::uint32_t i = 0; i < plan_.connections; ++i) {
      threads_.emplace_back([this] { work(); });
    }
  }

  void finish() {
    stop_ = true;
    for (std::thread& thread : threads_) thread.join();
  }

  bool isOver() const { return working_ == 0; }
  std::uint64_t answers() const { return answers_; }
  // After Finish.
  LoadOutcome& outcome() { return outcome_; }

 private:
  void work() {
    LatencyHistogram latencies;
    const auto error = ask(latencies);
    {
      const std::lock_guard guard(mutex_);
      outcome_.latencies.add(latencies);
      if (error) {
        ++outcome_.failedConnections;
        if (!outcome_.firstError) outcome_.firstError = error;
      }
    }
    --working_;
  }

  std::optional<client::Error> ask(LatencyHistogram& latencies) {
    auto service = context_.connect();
    if (!service) return service.error();
    while (!stop_) {
      const auto before = Clock::now();
      const auto answer = service.value().ask(plan_.type, payload_);
      if (!answer) return answer.error();
      const auto taken =
          std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - before);
      latencies.add(static_cast<std::uint64_t>(taken.count()));
      ++answers_;
    }
    return std::nullopt;
  }

  Context& context_;
  const LoadPlan plan_;
  const client::Bytes payload_;
  std::atomic<bool> stop_ = false;
  std::atomic<std::uint32_t> working_ = 0;
  std::atomic<std::uint64_t> answers_ = 0;
  std::vector<std::thread> threads_;
  std::mutex mutex_;  // Guards outcome_ until Finish.
  LoadOutcome outcome_;
};

}  // namespace

LoadOutcome runLoad(Context& context, const LoadPlan& plan, HANDLE interrupt,
                    const std::function<void(milliseconds, std::uint64_t)>& progress) {
  const auto begin = Clock::now();
  const auto elapsed = [begin] {
    return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
  };
  Load load(context, plan);
  load.start();
  milliseconds nextProgress = kProgressEvery;
  bool interrupted = false;
  while (!interrupted && !load.isOver() && elapsed() < plan.duration) {
    interrupted = interruptedWithin(interrupt, std::min(kTurn, plan.duration));
    if (elapsed() < nextProgress) continue;
    progress(elapsed(), load.answers());
    nextProgress = elapsed() + kProgressEvery;
  }
  load.finish();
  LoadOutcome outcome = load.outcome();
  outcome.elapsed = elapsed();
  outcome.interrupted = interrupted;
  return outcome;
}

}  // namespace orva_accelerator::tools
