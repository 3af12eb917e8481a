#include "tests/handlers/storm_library.h"

#include "sdk/completions.h"
#include "tests/handlers/frame_ledger.h"
#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

constexpr std::uint32_t kStates[] = {1, 2, 3, 4, 4, 4, 5, 6, 7, 9};

}  // namespace

StormLibrary::StormLibrary(FakeKernel& kernel, unsigned seed) : random_(seed) {
  kernel.Kernel_StartAccel = [this](auto...) { return onStart(); };
  kernel.Kernel_StartAccelEx = [this](auto...) { return onStart(); };
  kernel.Kernel_StopAccel = [this](auto...) { return onStop(); };
  for (int i = 0; i < 2; ++i) threads_.emplace_back([this] { completeOnThread(); });
}

StormLibrary::~StormLibrary() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void StormLibrary::obey(bool accepted) {
  const std::lock_guard lock(mutex_);
  obeying_ = true;
  accepting_ = accepted;
}

void StormLibrary::storm() {
  const std::lock_guard lock(mutex_);
  obeying_ = false;
}

void StormLibrary::reportState(std::uint32_t state) {
  std::uint32_t sequence = 0;
  {
    const std::lock_guard lock(mutex_);
    sequence = nextSequence_++;
  }
  const std::wstring text1 = stormText1(sequence);
  const std::wstring text2 = stormText2(sequence);
  const sdk::KernelAccelResult record = {sequence,
                                         stormValue(sequence, 2),
                                         text1.c_str(),
                                         stormValue(sequence, 3),
                                         stormValue(sequence, 4),
                                         state,
                                         stormValue(sequence, 5),
                                         text2.c_str()};
  sdk::OnAccelResult(nullptr, nullptr, &record);
  const std::lock_guard lock(mutex_);
  reported_.push_back(sequence);
}

void StormLibrary::reportStop(int code) {
  sdk::OnStopResult(nullptr, code, nullptr);
}

bool StormLibrary::drain() {
  return waitUntil(
      [this] {
        const std::lock_guard lock(mutex_);
        return due_.empty() && busy_ == 0;
      },
      std::chrono::seconds(30));
}

std::vector<std::uint32_t> StormLibrary::reported() const {
  const std::lock_guard lock(mutex_);
  return reported_;
}

sdk::KernelBool StormLibrary::onStart() {
  {
    const std::lock_guard lock(mutex_);
    if (obeying_) return accepting_ ? 1 : 0;
  }
  const unsigned results = roll(4);  // None at all in one of four.
  const bool inside = roll(3) == 0;
  for (unsigned i = 0; i < results; ++i) {
    const std::uint32_t state = kStates[roll(std::size(kStates))];
    if (inside) {
      reportState(state);
    } else {
      const std::lock_guard lock(mutex_);
      due_.push_back([this, state] { reportState(state); });
    }
  }
  changed_.notify_all();
  return roll(6) == 0 ? 0 : 1;
}

sdk::KernelBool StormLibrary::onStop() {
  {
    const std::lock_guard lock(mutex_);
    if (obeying_) return accepting_ ? 1 : 0;
  }
  if (roll(3) == 0) reportState(kStates[roll(std::size(kStates))]);  // While the stop is under way.
  const int code = roll(3) == 0 ? 10'061 : 0;
  switch (roll(3)) {
    case 0:
      reportStop(code);
      break;
    case 1: {
      const std::lock_guard lock(mutex_);
      due_.push_back([this, code] { reportStop(code); });
      break;
    }
    default:
      break;
  }
  changed_.notify_all();
  return roll(6) == 0 ? 0 : 1;
}

void StormLibrary::completeOnThread() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || !due_.empty(); });
    if (ending_) return;
    const auto report = std::move(due_.front());
    due_.pop_front();
    ++busy_;
    lock.unlock();
    report();
    lock.lock();
    --busy_;
  }
}

unsigned StormLibrary::roll(unsigned sides) {
  const std::lock_guard lock(mutex_);
  return static_cast<unsigned>(random_()) % sides;
}

}  // namespace orva_accelerator::test
