// Starting and stopping acceleration against a library inside the process.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "sdk/accel_sdk.h"
#include "sdk/completions.h"
#include "sdk/kernel_function_table.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::sdk {
namespace {

using test::FakeKernel;
using testing::ElementsAre;
using testing::IsEmpty;

class AccelerationControl : public testing::Test {
 protected:
  AccelerationControl() {
    EXPECT_TRUE(ResolveKernelFunctions(kernel.module()));
    accelResultHandler.install({});
    stopResultHandler.install({});
  }
  ~AccelerationControl() override {
    // What the tests' callbacks capture goes with the test.
    accelResultHandler.install({});
    stopResultHandler.install({});
  }

  AccelResultCallback remember(std::vector<SAccelResult>& seen) {
    return [&seen](const SAccelResult& result) { seen.push_back(result); };
  }
  CodeResultCallback remember(std::vector<int>& seen) {
    return [&seen](int code, const std::wstring& message) {
      EXPECT_EQ(message, L"");
      seen.push_back(code);
    };
  }
  void reportState(std::uint32_t state) {
    KernelAccelResult record = {};
    record.state = state;
    OnAccelResult(nullptr, nullptr, &record);
  }

  FakeKernel kernel;
  AccelSdk& accelSdk = AccelSdk::Instance();
  std::vector<SAccelResult> results;
  std::vector<int> codes;
};

// --- What the library is given ------------------------------------------------------------------

TEST_F(AccelerationControl, StartPassesItsArgumentsInOrder) {
  EXPECT_TRUE(accelSdk.StartAccel(11, 22, L"\u4E9A\u670D", L"5;-6;7", 33, remember(results)));
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_StartAccel(11, 22, \"\xE4\xBA\x9A\xE6\x9C\x8D\", "
                                          "0, \"5;-6;7\", 33)"));
}

TEST_F(AccelerationControl, ExtendedStartPassesItsFourthArgumentBehindTheThird) {
  EXPECT_TRUE(accelSdk.StartAccelEx(11, 22, L"asia-1", L"5", 33, 44, remember(results)));
  EXPECT_THAT(kernel.calls(),
              ElementsAre("Kernel_StartAccelEx(11, 22, \"asia-1\", 0, \"5\", 33, 44)"));
}

TEST_F(AccelerationControl, StartsGiveTheBindingsRecordAsContextAndTheCompletionFunction) {
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  void* const context = kernel.accelContext();
  EXPECT_NE(context, nullptr);
  EXPECT_EQ(kernel.accelCompletion(), &OnAccelResult);
  EXPECT_TRUE(accelSdk.StartAccelEx(1, 2, L"", L"", 3, 4, remember(results)));
  EXPECT_EQ(kernel.accelContext(), context);
  EXPECT_EQ(kernel.accelCompletion(), &OnAccelResult);
}

TEST_F(AccelerationControl, StopGivesANullContextAndTheCompletionFunction) {
  void* context = this;
  kernel.stopAccel = [&context](void* given, KernelCodeCompletion) {
    context = given;
    return KernelBool{1};
  };
  EXPECT_TRUE(accelSdk.StopAccel(remember(codes)));
  EXPECT_EQ(context, nullptr);
  EXPECT_EQ(kernel.stopCompletion(), &OnStopResult);
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_StopAccel()"));
}

TEST_F(AccelerationControl, SelectionBecomesTheAutomaticByteAndTheNodeList) {
  struct Row {
    const wchar_t* selection;
    const char* isAutoAndNodes;
  };
  const Row rows[] = {
      {L"", "1, \"\""},          {L"auto", "1, \"\""}, {L";", "0, \"\""},
      {L"1;;2;", "0, \"1;2\""},  {L" 7x", "0, \"7\""}, {L"-3", "0, \"-3\""},
      {L"+5;007", "0, \"5;7\""}, {L"-0", "0, \"0\""},  {L"2147483647", "0, \"2147483647\""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.isAutoAndNodes);
    kernel.clearCalls();
    EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"t", row.selection, 3, remember(results)));
    EXPECT_TRUE(accelSdk.StartAccelEx(1, 2, L"t", row.selection, 3, 4, remember(results)));
    const std::string middle = std::string("(1, 2, \"t\", ") + row.isAutoAndNodes;
    EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_StartAccel" + middle + ", 3)",
                                            "Kernel_StartAccelEx" + middle + ", 3, 4)"));
  }
}

TEST_F(AccelerationControl, TextsReachTheLibraryUpToTheirFirstNul) {
  const std::wstring text(L"asia\0hidden", 11);
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, text, L"", 3, remember(results)));
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_StartAccel(1, 2, \"asia\", 1, \"\", 3)"));
}

// --- What the library answers -------------------------------------------------------------------

TEST_F(AccelerationControl, AnyNonZeroLowByteIsAcceptance) {
  for (const KernelBool answer :
       {KernelBool{1}, KernelBool{2}, KernelBool{0x80}, KernelBool{0xFF}}) {
    kernel.startAccel = [answer](auto...) { return answer; };
    kernel.startAccelEx = [answer](auto...) { return answer; };
    kernel.stopAccel = [answer](auto...) { return answer; };
    EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
    EXPECT_TRUE(accelSdk.StartAccelEx(1, 2, L"", L"", 3, 4, remember(results)));
    EXPECT_TRUE(accelSdk.StopAccel(remember(codes)));
  }
}

TEST_F(AccelerationControl, RefusalIsPassedOn) {
  kernel.startAccel = [](auto...) { return KernelBool{0}; };
  kernel.startAccelEx = [](auto...) { return KernelBool{0}; };
  kernel.stopAccel = [](auto...) { return KernelBool{0}; };
  EXPECT_FALSE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  EXPECT_FALSE(accelSdk.StartAccelEx(1, 2, L"", L"", 3, 4, remember(results)));
  EXPECT_FALSE(accelSdk.StopAccel(remember(codes)));
  EXPECT_EQ(kernel.calls().size(), 3U);
}

TEST_F(AccelerationControl, EntryPointsThatAreNotThereRefuse) {
  kernelFunctions.clear();
  EXPECT_FALSE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  EXPECT_FALSE(accelSdk.StartAccelEx(1, 2, L"", L"", 3, 4, remember(results)));
  EXPECT_FALSE(accelSdk.StopAccel(remember(codes)));
  EXPECT_THAT(kernel.calls(), IsEmpty());
}

TEST_F(AccelerationControl, EntryPointsThatAreNotThereStillInstallTheCallbacks) {
  kernelFunctions.clear();
  (void)accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results));
  (void)accelSdk.StopAccel(remember(codes));
  reportState(3);
  OnStopResult(nullptr, 9, nullptr);
  EXPECT_EQ(results.size(), 1U);
  EXPECT_THAT(codes, ElementsAre(9));
}

TEST_F(AccelerationControl, MalformedSelectionIsAnErrorEvenWithoutEntryPoints) {
  kernelFunctions.clear();
  EXPECT_THROW((void)accelSdk.StartAccel(1, 2, L"", L"x", 3, remember(results)),
               std::invalid_argument);
  EXPECT_THROW((void)accelSdk.StartAccelEx(1, 2, L"", L"2147483648", 3, 4, remember(results)),
               std::out_of_range);
}

// --- Callbacks ----------------------------------------------------------------------------------

TEST_F(AccelerationControl, StartInstallsItsCallbackBeforeItReadsTheSelection) {
  EXPECT_THROW((void)accelSdk.StartAccel(1, 2, L"", L"x", 3, remember(results)),
               std::invalid_argument);
  EXPECT_THAT(kernel.calls(), IsEmpty());
  reportState(3);
  EXPECT_EQ(results.size(), 1U);
}

TEST_F(AccelerationControl, ResultInsideTheStartCallReachesTheCallbackOfThatStart) {
  std::vector<SAccelResult> earlier;
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(earlier)));
  kernel.startAccel = [this](auto...) {
    reportState(4);
    return KernelBool{1};
  };
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(results[0].state, 4U);
  EXPECT_TRUE(earlier.empty());
}

TEST_F(AccelerationControl, StopResultInsideTheStopCallReachesTheCallbackOfThatStop) {
  kernel.stopAccel = [](void*, KernelCodeCompletion completion) {
    completion(nullptr, 6, nullptr);
    return KernelBool{1};
  };
  EXPECT_TRUE(accelSdk.StopAccel(remember(codes)));
  EXPECT_THAT(codes, ElementsAre(6));
}

TEST_F(AccelerationControl, EachStartReplacesTheResultCallback) {
  std::vector<SAccelResult> second;
  std::vector<SAccelResult> third;
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  reportState(1);
  EXPECT_TRUE(accelSdk.StartAccelEx(1, 2, L"", L"", 3, 4, remember(second)));
  reportState(2);
  accelSdk.SetAccelResultCallback(remember(third));
  reportState(3);
  ASSERT_EQ(results.size(), 1U);
  ASSERT_EQ(second.size(), 1U);
  ASSERT_EQ(third.size(), 1U);
  EXPECT_EQ(results[0].state, 1U);
  EXPECT_EQ(second[0].state, 2U);
  EXPECT_EQ(third[0].state, 3U);
  EXPECT_EQ(kernel.calls().size(), 2U);  // Installing a callback calls nobody.
}

TEST_F(AccelerationControl, RefusedStartKeepsItsCallbackInstalled) {
  kernel.startAccel = [](auto...) { return KernelBool{0}; };
  EXPECT_FALSE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  reportState(4);
  EXPECT_EQ(results.size(), 1U);
}

TEST_F(AccelerationControl, RefusedStopKeepsItsCallbackInstalled) {
  std::vector<int> refused;
  EXPECT_TRUE(accelSdk.StopAccel(remember(codes)));
  kernel.stopAccel = [](auto...) { return KernelBool{0}; };
  EXPECT_FALSE(accelSdk.StopAccel(remember(refused)));
  OnStopResult(nullptr, 1, nullptr);
  EXPECT_THAT(codes, IsEmpty());
  EXPECT_THAT(refused, ElementsAre(1));
}

TEST_F(AccelerationControl, StopWithAnEmptyCallbackIsRefusedAndReplacesNothing) {
  EXPECT_TRUE(accelSdk.StopAccel(remember(codes)));
  kernel.clearCalls();
  EXPECT_FALSE(accelSdk.StopAccel({}));
  EXPECT_THAT(kernel.calls(), IsEmpty());
  OnStopResult(nullptr, 1, nullptr);
  EXPECT_THAT(codes, ElementsAre(1));
}

TEST_F(AccelerationControl, StartWithAnEmptyCallbackReachesTheLibraryAndNobodyHearsOfIt) {
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, {}));
  EXPECT_EQ(kernel.calls().size(), 2U);
  reportState(4);
  EXPECT_TRUE(results.empty());
}

// --- Completions --------------------------------------------------------------------------------

TEST_F(AccelerationControl, ResultCarriesEveryFieldOfTheLibrarysRecord) {
  accelSdk.SetAccelResultCallback(remember(results));
  const KernelAccelResult record = {1, 2, L"\u4E9A\u670D", 3, 4, 5, 6, L"two"};
  OnAccelResult(nullptr, nullptr, &record);
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(results[0].value1, 1U);
  EXPECT_EQ(results[0].value2, 2U);
  EXPECT_EQ(results[0].text1, L"\u4E9A\u670D");
  EXPECT_EQ(results[0].value3, 3U);
  EXPECT_EQ(results[0].value4, 4U);
  EXPECT_EQ(results[0].state, 5U);
  EXPECT_EQ(results[0].value5, 6U);
  EXPECT_EQ(results[0].text2, L"two");
}

TEST_F(AccelerationControl, ResultWithNullTextsHasEmptyOnes) {
  accelSdk.SetAccelResultCallback(remember(results));
  const KernelAccelResult first = {1, 2, nullptr, 3, 4, 5, 6, L"two"};
  const KernelAccelResult second = {1, 2, L"one", 3, 4, 5, 6, nullptr};
  OnAccelResult(nullptr, nullptr, &first);
  OnAccelResult(nullptr, nullptr, &second);
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(results[0].text1, L"");
  EXPECT_EQ(results[0].text2, L"two");
  EXPECT_EQ(results[1].text1, L"one");
  EXPECT_EQ(results[1].text2, L"");
}

TEST_F(AccelerationControl, ResultWithoutRecordIsDropped) {
  accelSdk.SetAccelResultCallback(remember(results));
  OnAccelResult(this, this, nullptr);
  EXPECT_TRUE(results.empty());
}

TEST_F(AccelerationControl, CompletionsWithoutCallbackAreDropped) {
  reportState(4);
  OnAccelResult(nullptr, nullptr, nullptr);
  OnStopResult(nullptr, 0, nullptr);
}

TEST_F(AccelerationControl, StopResultReadsNeitherPointerAndPassesAnEmptyText) {
  std::wstring message = L"not called";
  EXPECT_TRUE(accelSdk.StopAccel([&](int code, const std::wstring& given) {
    codes.push_back(code);
    message = given;
  }));
  void* const unreadable = reinterpret_cast<void*>(std::uintptr_t{8});
  OnStopResult(unreadable, -12, unreadable);
  EXPECT_THAT(codes, ElementsAre(-12));
  EXPECT_EQ(message, L"");
}

// --- Replacement while completions run ----------------------------------------------------------

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
