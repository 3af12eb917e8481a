// Initialising, releasing and asking, through the one binding of the process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "sdk/accel_sdk.h"
#include "sdk/completions.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {
namespace {

using sdk::AccelSdk;
using sdk::KernelBool;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class AccelSdkRelease : public testing::Test {
 protected:
  AccelSdkRelease() {
    sdk().Release();
    sdk::loginResultHandler.install({});
  }
  ~AccelSdkRelease() override {
    sdk().Release();
    sdk::loginResultHandler.install({});
  }

  static AccelSdk& sdk() { return AccelSdk::Instance(); }

  FakeKernel kernel;
};

TEST_F(AccelSdkRelease, LeavesTheBindingNotInitialised) {
  EXPECT_FALSE(sdk().IsInitialised());
  EXPECT_EQ(sdk().Init({}), 1);
  EXPECT_TRUE(sdk().IsInitialised());
  sdk().Release();
  EXPECT_FALSE(sdk().IsInitialised());
  sdk().Release();
  EXPECT_FALSE(sdk().IsInitialised());
}

TEST_F(AccelSdkRelease, CallsNothingAndKeepsTheLibraryLoaded) {
  EXPECT_EQ(sdk().Init({}), 1);
  kernel.clearCalls();
  sdk().Release();
  EXPECT_THAT(kernel.calls(), IsEmpty());
  EXPECT_EQ(kernel.freeCount(), 0U);
}

TEST_F(AccelSdkRelease, MakesTheNextInitCallTheLibraryAgain) {
  EXPECT_EQ(sdk().Init({1, 2, L"first"}), 1);
  const std::size_t loads = kernel.loadedPaths().size();
  sdk().Release();
  kernel.clearCalls();
  EXPECT_EQ(sdk().Init({3, 4, L"second"}), 1);
  EXPECT_THAT(kernel.calls(), ElementsAre(StartsWith("Kernel_Init("),
                                          "Kernel_SetSdkChannelNumber(3, 4, \"second\")"));
  EXPECT_EQ(kernel.loadedPaths().size(), loads);
}

TEST_F(AccelSdkRelease, StillPassesLoginsToTheLibrary) {
  EXPECT_EQ(sdk().Init({}), 1);
  sdk().Release();
  kernel.clearCalls();
  int heard = 0;
  EXPECT_TRUE(
      sdk().UserLoginFromAccount(L"a", L"b", [&](int code, const std::wstring&) { heard = code; }));
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_UserLoginFromAccount(\"a\", \"b\")"));
  kernel.loginCompletion()(nullptr, 4, nullptr);
  EXPECT_EQ(heard, 4);
}

TEST_F(AccelSdkRelease, KeepsTheCallbackOfALoginThatHasNoResultYet) {
  EXPECT_EQ(sdk().Init({}), 1);
  int heard = 0;
  EXPECT_TRUE(
      sdk().UserLoginFromAccount(L"a", L"b", [&](int code, const std::wstring&) { heard = code; }));
  sdk().Release();
  EXPECT_EQ(sdk().Init({}), 1);
  kernel.loginCompletion()(nullptr, 11, nullptr);
  EXPECT_EQ(heard, 11);
}

// While Init is held up inside the library, on a thread of its own.
class AccelSdkWhileInitBlocks : public AccelSdkRelease {
 protected:
  AccelSdkWhileInitBlocks() {
    kernel.Kernel_Init = [this](auto...) {
      inside = true;
      EXPECT_TRUE(waitUntil([this] { return letGo.load(); }));
      return KernelBool{1};
    };
    initialising = std::thread([this] { result = sdk().Init({}); });
    EXPECT_TRUE(waitUntil([this] { return inside.load(); }));
  }
  ~AccelSdkWhileInitBlocks() override { finish(); }

  void finish() {
    letGo = true;
    if (initialising.joinable()) initialising.join();
  }

  std::atomic<bool> inside = false;
  std::atomic<bool> letGo = false;
  std::atomic<int> result = 0;
  std::thread initialising;
};

TEST_F(AccelSdkWhileInitBlocks, AsksAndLogsInWithoutWaiting) {
  EXPECT_FALSE(sdk().IsInitialised());
  EXPECT_TRUE(sdk().UserLoginFromAccount(L"a", L"b", [](int, const std::wstring&) {}));
  EXPECT_THAT(kernel.calls(), Contains("Kernel_UserLoginFromAccount(\"a\", \"b\")"));
  EXPECT_FALSE(letGo);
  finish();
  EXPECT_EQ(result, 1);
  EXPECT_TRUE(sdk().IsInitialised());
}

TEST_F(AccelSdkWhileInitBlocks, ReleasesOnlyAfterIt) {
  std::atomic<bool> begun = false;
  std::atomic<bool> ended = false;
  std::thread releasing([&] {
    begun = true;
    sdk().Release();
    ended = true;
  });
  EXPECT_TRUE(waitUntil([&] { return begun.load(); }));
  EXPECT_FALSE(ended);
  finish();
  releasing.join();
  EXPECT_EQ(result, 1);
  EXPECT_FALSE(sdk().IsInitialised());
}

// A start or a stop that did not wait would reach the library within this time.
constexpr std::chrono::milliseconds kLongEnough{300};

TEST_F(AccelSdkWhileInitBlocks, StartsOnlyAfterIt) {
  std::thread starting([&] { EXPECT_TRUE(sdk().StartAccel(1, 2, L"", L"", 3, {})); });
  const auto isStarted = [&] { return kernel.accelCompletion() != nullptr; };
  EXPECT_FALSE(waitUntil(isStarted, kLongEnough));
  finish();
  starting.join();
  EXPECT_TRUE(isStarted());
}

TEST_F(AccelSdkWhileInitBlocks, StopsOnlyAfterIt) {
  std::thread stopping([&] { EXPECT_TRUE(sdk().StopAccel([](int, const std::wstring&) {})); });
  const auto isStopped = [&] { return kernel.stopCompletion() != nullptr; };
  EXPECT_FALSE(waitUntil(isStopped, kLongEnough));
  finish();
  stopping.join();
  EXPECT_TRUE(isStopped());
}

}  // namespace
}  // namespace orva_accelerator::test
