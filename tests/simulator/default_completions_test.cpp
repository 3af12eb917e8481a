// What logins, starts and stops report without a scenario.

#include <gmock/gmock.h>

#include <chrono>

#include "tests/simulator/simulator_completions.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;

TEST_F(SimulatorCompletions, LoginSucceedsOnAnotherThreadByDefault) {
  load();
  ReceivedCodes& received = newCodes();
  const auto called = std::chrono::steady_clock::now();
  EXPECT_EQ(login(received), 1);
  ASSERT_TRUE(received.waitFor(1));
  // Callers that note only after the call whom to tell have the time for it.
  EXPECT_GE(std::chrono::steady_clock::now() - called, std::chrono::milliseconds(250));
  EXPECT_EQ(received.all()[0].code, 0);
  EXPECT_NE(received.all()[0].thread, GetCurrentThreadId());
}

TEST_F(SimulatorCompletions, LoginWithoutCredentialFailsByDefault) {
  load();
  ReceivedCodes& received = newCodes();
  EXPECT_EQ(get<sdk::signature::Kernel_UserLoginFromAccount>("Kernel_UserLoginFromAccount")(
                &received, L"somebody", L"", &receiveCode),
            1);
  ASSERT_TRUE(received.waitFor(1));
  EXPECT_THAT(codesOf(received), ElementsAre(1001));
}

TEST_F(SimulatorCompletions, StartReportsProgressAndThenAcceleratesByDefault) {
  load();
  ReceivedResults& received = newResults();
  EXPECT_EQ(start(received), 1);
  ASSERT_TRUE(received.waitFor(4));
  EXPECT_THAT(statesOf(received), ElementsAre(1U, 2U, 3U, 4U));
  const ReceivedAccelResult last = received.all()[3];
  EXPECT_EQ(last.value1, 1001U);
  EXPECT_EQ(last.value2, 1U);
  EXPECT_EQ(last.text1, L"星河战纪");
  EXPECT_EQ(last.value3, 101U);
  EXPECT_EQ(last.value4, 100U);
  EXPECT_EQ(last.value5, 38U);
  EXPECT_EQ(last.text2, L"上海 电信 01");
  EXPECT_NE(last.thread, GetCurrentThreadId());
}

TEST_F(SimulatorCompletions, StartOfUnknownGameShowsWhatWasPassed) {
  load();
  ReceivedResults& received = newResults();
  EXPECT_EQ(get<sdk::signature::Kernel_StartAccelEx>("Kernel_StartAccelEx")(
                &received, 9999, 7, L"mystery", 0, L"-3;8", 1, 2, &receiveResult),
            1);
  ASSERT_TRUE(received.waitFor(4));
  const ReceivedAccelResult first = received.all()[0];
  EXPECT_EQ(first.value1, 9999U);
  EXPECT_EQ(first.value2, 7U);
  EXPECT_EQ(first.text1, L"mystery");
  EXPECT_EQ(first.value3, 0xFFFFFFFDU);
  EXPECT_EQ(first.value4, 25U);
  EXPECT_EQ(first.value5, 50U);
  EXPECT_EQ(first.text2, L"-3;8");
}

TEST_F(SimulatorCompletions, StartTakesTheListedNode) {
  load();
  ReceivedResults& received = newResults();
  EXPECT_EQ(get<sdk::signature::Kernel_StartAccel>("Kernel_StartAccel")(
                &received, 1001, 1, L"east-1", 0, L"103;101", 1, &receiveResult),
            1);
  ASSERT_TRUE(received.waitFor(1));
  EXPECT_EQ(received.all()[0].value3, 103U);
  EXPECT_EQ(received.all()[0].text2, L"南京 移动 03");
}

TEST_F(SimulatorCompletions, StopIsReportedWithCodeZeroByDefault) {
  load();
  ReceivedCodes& received = newCodes();
  EXPECT_EQ(stop(received), 1);
  ASSERT_TRUE(received.waitFor(1));
  EXPECT_THAT(codesOf(received), ElementsAre(0));
}

}  // namespace
}  // namespace orva_accelerator::test
