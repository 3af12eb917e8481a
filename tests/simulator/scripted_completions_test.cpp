// What logins, starts and stops report when a scenario says so.

#include <gmock/gmock.h>

#include <set>

#include "tests/simulator/simulator_completions.h"
#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(SimulatorCompletions, RefusedCallsCompleteNothing) {
  loadWith(R"({"functions": {
    "Kernel_UserLoginFromAccount": {"refuse": true, "completions": [{"inline": true}]},
    "Kernel_StartAccel": {"refuse": true, "completions": [{"inline": true, "state": 4}]},
    "Kernel_StopAccel": {"result": 0, "completions": [{"inline": true}]}}})");
  ReceivedCodes& codes = newCodes();
  ReceivedResults& results = newResults();
  EXPECT_EQ(login(codes), 0);
  EXPECT_EQ(start(results), 0);
  EXPECT_EQ(stop(codes), 0);
  EXPECT_THAT(codesOf(codes), IsEmpty());
  EXPECT_THAT(statesOf(results), IsEmpty());
  EXPECT_THAT(folder.logLinesStarting("completion"), IsEmpty());
}

TEST_F(SimulatorCompletions, ResultMayBeAnyTrueByte) {
  loadWith(R"({"functions": {"Kernel_StopAccel": {"result": 255, "completions": []}}})");
  ReceivedCodes& received = newCodes();
  EXPECT_EQ(stop(received), 255);
}

TEST_F(SimulatorCompletions, InlineStepsArriveInsideTheCall) {
  loadWith(R"({"functions": {
    "Kernel_UserLoginFromAccount": {"completions": [{"inline": true, "code": -7}]},
    "Kernel_StartAccel": {"completions": [{"state": 9}, {"inline": true, "state": 1},
                                          {"inline": true, "state": 4}]}}})");
  ReceivedCodes& codes = newCodes();
  EXPECT_EQ(login(codes), 1);
  EXPECT_THAT(codesOf(codes), ElementsAre(-7));
  EXPECT_EQ(codes.all()[0].thread, GetCurrentThreadId());
  ReceivedResults& results = newResults();
  EXPECT_EQ(start(results), 1);
  EXPECT_GE(results.all().size(), 2U);
  ASSERT_TRUE(results.waitFor(3));
  EXPECT_THAT(statesOf(results), ElementsAre(1U, 4U, 9U));
}

TEST_F(SimulatorCompletions, BareNumbersAreStatesAndCodes) {
  loadWith(R"({"functions": {"Kernel_StartAccel": {"completions": [2, 6]},
                             "Kernel_StopAccel": {"completions": [-1, 3]}}})");
  ReceivedResults& results = newResults();
  EXPECT_EQ(start(results), 1);
  ASSERT_TRUE(results.waitFor(2));
  EXPECT_THAT(statesOf(results), ElementsAre(2U, 6U));
  ReceivedCodes& codes = newCodes();
  EXPECT_EQ(stop(codes), 1);
  ASSERT_TRUE(codes.waitFor(2));
  EXPECT_THAT(codesOf(codes), ElementsAre(-1, 3));
}

TEST_F(SimulatorCompletions, EmptyListNeverCompletes) {
  loadWith(R"({"functions": {"Kernel_UserLoginFromAccount": {"completions": []}}})");
  ReceivedCodes& never = newCodes();
  EXPECT_EQ(login(never), 1);
  // A stop requested later has completed by the time when the login would have.
  ReceivedCodes& stopped = newCodes();
  EXPECT_EQ(stop(stopped), 1);
  ASSERT_TRUE(stopped.waitFor(1));
  unload();
  ASSERT_TRUE(waitUntil([this] { return !loaded(); }));
  EXPECT_THAT(codesOf(never), IsEmpty());
}

TEST_F(SimulatorCompletions, RepeatAStep) {
  loadWith(R"({"functions": {
    "Kernel_StopAccel": {"completions": [{"times": 3, "code": 5}, {"code": 6}]}}})");
  ReceivedCodes& received = newCodes();
  EXPECT_EQ(stop(received), 1);
  ASSERT_TRUE(received.waitFor(4));
  EXPECT_THAT(codesOf(received), ElementsAre(5, 5, 5, 6));
}

TEST_F(SimulatorCompletions, ComeFromSeveralThreadsAtOnce) {
  loadWith(R"({"functions": {
    "Kernel_StartAccel": {"completions": [{"threads": 2, "times": 2, "state": 4}]}}})");
  ReceivedResults& received = newResults();
  EXPECT_EQ(start(received), 1);
  ASSERT_TRUE(received.waitFor(4));
  EXPECT_THAT(statesOf(received), ElementsAre(4U, 4U, 4U, 4U));
  std::set<unsigned long> threads;
  for (const ReceivedAccelResult& result : received.all()) threads.insert(result.thread);
  EXPECT_EQ(threads.size(), 2U);
}

TEST_F(SimulatorCompletions, CarryNullAndEmptyAndLongTexts) {
  loadWith(R"({"functions": {"Kernel_StartAccel": {"completions": [
    {"inline": true, "state": 4, "text1": null, "text2": ""},
    {"inline": true, "state": 4, "text1": {"repeat": "中", "times": 30000}, "text2": null},
    {"inline": true, "state": 4, "text2": {"units": [55296, 65]}}]}}})");
  ReceivedResults& received = newResults();
  EXPECT_EQ(start(received), 1);
  const std::vector<ReceivedAccelResult> results = received.all();
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(results[0].text1, std::nullopt);
  EXPECT_EQ(results[0].text2, L"");
  EXPECT_EQ(results[1].text1, std::wstring(30000, L'中'));
  EXPECT_EQ(results[1].text2, std::nullopt);
  EXPECT_EQ(results[2].text1, L"星河战纪");
  EXPECT_EQ(results[2].text2, std::wstring({wchar_t{0xD800}, L'A'}));
}

TEST_F(SimulatorCompletions, CarryGivenValues) {
  loadWith(R"({"functions": {"Kernel_StartAccel": {"completions": [
    {"inline": true, "state": 4294967295, "value1": 1, "value2": -2, "value3": 3, "value4": 4,
     "value5": 4294967290, "text1": "a", "text2": "乙"}]}}})");
  ReceivedResults& received = newResults();
  EXPECT_EQ(start(received), 1);
  ASSERT_EQ(received.all().size(), 1U);
  const ReceivedAccelResult result = received.all()[0];
  EXPECT_EQ(result.state, 0xFFFFFFFFU);
  EXPECT_EQ(result.value1, 1U);
  EXPECT_EQ(result.value2, 0xFFFFFFFEU);
  EXPECT_EQ(result.value3, 3U);
  EXPECT_EQ(result.value4, 4U);
  EXPECT_EQ(result.value5, 0xFFFFFFFAU);
  EXPECT_EQ(result.text1, L"a");
  EXPECT_EQ(result.text2, L"乙");
}

TEST_F(SimulatorCompletions, MayLackTheRecord) {
  loadWith(R"({"functions": {
    "Kernel_StartAccel": {"completions": [{"inline": true, "nullRecord": true}]}}})");
  ReceivedResults& received = newResults();
  EXPECT_EQ(start(received), 1);
  ASSERT_EQ(received.all().size(), 1U);
  EXPECT_TRUE(received.all()[0].nullRecord);
  EXPECT_THAT(folder.logLinesStarting("completion"),
              ElementsAre("completion Kernel_StartAccel(record=null)"));
}

TEST_F(SimulatorCompletions, ArriveWhileTheCallBlocks) {
  loadWith(R"({"functions": {
    "Kernel_StopAccel": {"blockMs": 3000, "completions": [{"afterMs": 10}]}}})");
  ReceivedCodes& received = newCodes();
  EXPECT_EQ(stop(received), 1);
  EXPECT_THAT(codesOf(received), ElementsAre(0));
}

TEST_F(SimulatorCompletions, FollowTheListOfBehaviours) {
  loadWith(R"({"functions": {"Kernel_UserLoginFromAccount": [
    {"refuse": true}, {"completions": [{"inline": true, "code": 2}]},
    {"completions": [{"inline": true, "code": 3}]}]}})");
  ReceivedCodes& received = newCodes();
  EXPECT_EQ(login(received), 0);
  EXPECT_EQ(login(received), 1);
  EXPECT_EQ(login(received), 1);
  EXPECT_EQ(login(received), 1);
  EXPECT_THAT(codesOf(received), ElementsAre(2, 3, 3));
}

}  // namespace
}  // namespace orva_accelerator::test
