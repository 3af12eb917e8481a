// What the library is given when acceleration is started and stopped, and what its answer becomes.

#include <gmock/gmock.h>

#include <stdexcept>

#include "sdk/accel_sdk_impl.h"
#include "tests/sdk/acceleration_control_fixture.h"

namespace orva_accelerator::sdk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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
  // What the record has learnt from an initialisation tells it from any other.
  accelSdk.Release();
  ASSERT_EQ(accelSdk.Init({3, 20250, L"official"}), 1);
  EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
  void* const context = kernel.accelContext();
  ASSERT_NE(context, nullptr);
  const auto* const record = static_cast<const AccelSdkImpl*>(context);
  EXPECT_EQ(record->channelNumber, 20250U);
  EXPECT_EQ(record->channelName, L"official");
  EXPECT_EQ(record->module.get(), kernel.module());
  EXPECT_EQ(kernel.accelCompletion(), &OnAccelResult);
  EXPECT_TRUE(accelSdk.StartAccelEx(1, 2, L"", L"", 3, 4, remember(results)));
  EXPECT_EQ(kernel.accelContext(), context);
  EXPECT_EQ(kernel.accelCompletion(), &OnAccelResult);
}

TEST_F(AccelerationControl, StopGivesANullContextAndTheCompletionFunction) {
  void* context = this;
  kernel.Kernel_StopAccel = [&context](void* given, KernelCodeCompletion) {
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

TEST_F(AccelerationControl, AnyNonZeroLowByteIsAcceptance) {
  for (const KernelBool answer :
       {KernelBool{1}, KernelBool{2}, KernelBool{0x80}, KernelBool{0xFF}}) {
    kernel.Kernel_StartAccel = [answer](auto...) { return answer; };
    kernel.Kernel_StartAccelEx = [answer](auto...) { return answer; };
    kernel.Kernel_StopAccel = [answer](auto...) { return answer; };
    EXPECT_TRUE(accelSdk.StartAccel(1, 2, L"", L"", 3, remember(results)));
    EXPECT_TRUE(accelSdk.StartAccelEx(1, 2, L"", L"", 3, 4, remember(results)));
    EXPECT_TRUE(accelSdk.StopAccel(remember(codes)));
  }
}

TEST_F(AccelerationControl, RefusalIsPassedOn) {
  kernel.Kernel_StartAccel = [](auto...) { return KernelBool{0}; };
  kernel.Kernel_StartAccelEx = [](auto...) { return KernelBool{0}; };
  kernel.Kernel_StopAccel = [](auto...) { return KernelBool{0}; };
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

}  // namespace
}  // namespace orva_accelerator::sdk
