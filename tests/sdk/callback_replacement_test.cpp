// Callbacks that are replaced while completions run.

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "tests/sdk/acceleration_control_fixture.h"

namespace orva_accelerator::sdk {
namespace {

// Lives on the heap like what notifiers capture; knows when it is used after its end.
class Target {
 public:
  ~Target() { alive_ = 0xDEAD; }
  void use(std::atomic<std::uint64_t>& misses) const {
    if (alive_ != 0xA11F) ++misses;
  }

 private:
  volatile std::uint32_t alive_ = 0xA11F;
};

TEST_F(AccelerationControl, CallbacksMayBeReplacedWhileCompletionsRunOnOtherThreads) {
  constexpr int kReplacements = 3'000;
  // Whichever is first: on the guarded heap each block costs two calls of the system.
  const auto enough = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  std::atomic<std::uint64_t> misses{0};
  std::atomic<std::uint64_t> delivered{0};
  std::atomic<bool> done{false};
  const auto accelCallback = [&] {
    return [&, target = std::make_shared<Target>()](const SAccelResult& result) {
      target->use(misses);
      if (result.text1 != L"some text on the heap") ++misses;
      ++delivered;
    };
  };
  const auto stopCallback = [&] {
    return [&, target = std::make_shared<Target>()](int, const std::wstring&) {
      target->use(misses);
      ++delivered;
    };
  };
  // Installed before anybody completes, so that every completion finds somebody.
  accelSdk.SetAccelResultCallback(accelCallback());
  EXPECT_TRUE(accelSdk.StopAccel(stopCallback()));

  std::atomic<std::uint64_t> completed{0};
  std::vector<std::thread> completing;
  for (int thread = 0; thread < 4; ++thread) {
    completing.emplace_back([&, thread] {
      const KernelAccelResult record = {1, 2, L"some text on the heap", 3, 4, 3, 6, nullptr};
      while (!done) {
        if (thread % 2 == 0) {
          OnAccelResult(nullptr, nullptr, &record);
        } else {
          OnStopResult(nullptr, 0, nullptr);
        }
        ++completed;
      }
    });
  }
  std::vector<std::thread> replacing;
  for (int thread = 0; thread < 4; ++thread) {
    replacing.emplace_back([&, thread] {
      for (int i = 0; i < kReplacements && std::chrono::steady_clock::now() < enough; ++i) {
        if (thread % 2 == 0) {
          (void)accelSdk.StartAccel(1, 2, L"", L"1;2", 3, accelCallback());
        } else {
          (void)accelSdk.StopAccel(stopCallback());
        }
      }
    });
  }
  for (std::thread& thread : replacing) thread.join();
  done = true;
  for (std::thread& thread : completing) thread.join();
  EXPECT_EQ(misses, 0U);
  EXPECT_EQ(delivered, completed);
}

TEST_F(AccelerationControl, ReplacedCallbackLivesUntilItsRunningCompletionHasLeftIt) {
  std::weak_ptr<Target> watched;
  std::atomic<std::uint64_t> misses{0};
  {
    auto target = std::make_shared<Target>();
    watched = target;
    accelSdk.SetAccelResultCallback([this, target, &misses](const SAccelResult&) {
      accelSdk.SetAccelResultCallback({});  // What a start on another thread would do.
      target->use(misses);
    });
  }
  EXPECT_FALSE(watched.expired());
  reportState(3);
  EXPECT_EQ(misses, 0U);
  EXPECT_FALSE(accelResultHandler);
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace orva_accelerator::sdk
