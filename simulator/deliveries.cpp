#include "simulator/deliveries.h"

#include <windows.h>

#include <cstddef>
#include <utility>

#include "simulator/completion_threads.h"

namespace orva_accelerator::simulator {
namespace {

struct Sequence {
  std::vector<CompletionStep> steps;
  std::function<void(const CompletionStep&)> deliver;
  CalledOff calledOff;
};

void deliverStep(const Sequence& sequence, const CompletionStep& step) {
  runTogether(step.threads, [&sequence, &step] {
    for (std::uint32_t i = 0; i < step.times; ++i) {
      if (sequence.calledOff && sequence.calledOff->load()) return;
      sequence.deliver(step);
    }
  });
}

// Each step is put on the schedule only when the one before it has been delivered, which keeps them
// in order however many threads there are.
void scheduleStep(const std::shared_ptr<const Sequence>& sequence, std::size_t index,
                  CompletionClock::time_point previous) {
  if (index == sequence->steps.size()) return;
  const CompletionStep& step = sequence->steps[index];
  const auto due = previous + std::chrono::milliseconds(step.afterMs);
  runLater(due, [sequence, index, due, &step] {
    deliverStep(*sequence, step);
    scheduleStep(sequence, index + 1, due);
  });
}

}  // namespace

void deliverSteps(const std::vector<CompletionStep>& steps,
                  std::function<void(const CompletionStep&)> deliver, CalledOff calledOff) {
  const auto start = CompletionClock::now();
  const Sequence now{{}, std::move(deliver), std::move(calledOff)};
  const auto later = std::make_shared<Sequence>(now);
  for (const CompletionStep& step : steps) {
    if (!step.isInline) {
      later->steps.push_back(step);
      continue;
    }
    if (step.afterMs != 0) Sleep(step.afterMs);
    deliverStep(now, step);
  }
  scheduleStep(later, 0, start);
}

}  // namespace orva_accelerator::simulator
