// Who hears of the results of starts and stops, and of what the library reports for them.

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/sdk/acceleration_control_fixture.h"

namespace orva_accelerator::sdk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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
  kernel.Kernel_StartAccel = [this](auto...) {
    reportState(4);
    return KernelBool{1};
  };
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(results[0].state, 4U);
  EXPECT_TRUE(earlier.empty());
}

TEST_F(AccelerationControl, StopResultInsideTheStopCallReachesTheCallbackOfThatStop) {
  kernel.Kernel_StopAccel = [](void*, KernelCodeCompletion completion) {
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
  kernel.Kernel_StartAccel = [](auto...) { return KernelBool{0}; };
  EXPECT_FALSE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  reportState(4);
  EXPECT_EQ(results.size(), 1U);
}

TEST_F(AccelerationControl, RefusedStopKeepsItsCallbackInstalled) {
  std::vector<int> refused;
  EXPECT_TRUE(accelSdk.StopAccel(remember(codes)));
  kernel.Kernel_StopAccel = [](auto...) { return KernelBool{0}; };
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

TEST_F(AccelerationControl, ResultThatNobodyWaitsForIsNotRead) {
  const auto* const unreadable = reinterpret_cast<const KernelAccelResult*>(std::uintptr_t{8});
  OnAccelResult(nullptr, nullptr, unreadable);
  EXPECT_TRUE(results.empty());
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

}  // namespace
}  // namespace orva_accelerator::sdk
