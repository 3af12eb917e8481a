// What becomes of completions that are still to come: stops, further starts, and the library's end.

#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>

#include "tests/simulator/simulator_completions.h"
#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(SimulatorCompletions, AreCalledOffByAStop) {
  loadWith(R"({"functions": {
    "Kernel_StartAccel": {"completions": [{"inline": true, "state": 1},
                                          {"afterMs": 2000, "state": 4}]},
    "Kernel_StopAccel": {"completions": [{"afterMs": 2300, "code": 0}]}}})");
  ReceivedResults& results = newResults();
  ReceivedCodes& codes = newCodes();
  EXPECT_EQ(start(results), 1);
  EXPECT_EQ(stop(codes), 1);
  ASSERT_TRUE(codes.waitFor(1));
  EXPECT_THAT(statesOf(results), ElementsAre(1U));
}

TEST_F(SimulatorCompletions, SurviveAStopWhenTheScenarioSaysSo) {
  loadWith(R"({"functions": {
    "Kernel_StartAccel": {"survivesStop": true, "completions": [{"afterMs": 50, "state": 3},
                                                                {"state": 4}]},
    "Kernel_StopAccel": {"completions": []}}})");
  ReceivedResults& results = newResults();
  ReceivedCodes& codes = newCodes();
  EXPECT_EQ(start(results), 1);
  EXPECT_EQ(stop(codes), 1);
  ASSERT_TRUE(results.waitFor(2));
  EXPECT_THAT(statesOf(results), ElementsAre(3U, 4U));
}

TEST_F(SimulatorCompletions, AreCalledOffByAnotherStart) {
  loadWith(R"({"functions": {"Kernel_StartAccel": [
    {"completions": [{"afterMs": 2000, "state": 5}]},
    {"completions": [{"afterMs": 2300, "state": 4}]}]}})");
  ReceivedResults& first = newResults();
  ReceivedResults& second = newResults();
  EXPECT_EQ(start(first), 1);
  EXPECT_EQ(start(second), 1);
  ASSERT_TRUE(second.waitFor(1));
  EXPECT_THAT(statesOf(first), IsEmpty());
}

struct Blocker {
  HANDLE release = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::atomic<int> inside = 0;
};

void blockUntilReleased(void* context, int, void*) {
  auto* blocker = static_cast<Blocker*>(context);
  ++blocker->inside;
  (void)WaitForSingleObject(blocker->release, 10'000);
  --blocker->inside;
}

TEST_F(SimulatorCompletions, AreNotHeldUpByOneThatBlocks) {
  load();
  Blocker blocker;
  const auto stopAccel = get<sdk::signature::Kernel_StopAccel>("Kernel_StopAccel");
  for (int i = 0; i < 12; ++i) EXPECT_EQ(stopAccel(&blocker, &blockUntilReleased), 1);
  ASSERT_TRUE(waitUntil([&blocker] { return blocker.inside == 12; }));
  ReceivedCodes& received = newCodes();
  EXPECT_EQ(login(received), 1);
  EXPECT_TRUE(received.waitFor(1));
  ASSERT_TRUE(SetEvent(blocker.release));
  ASSERT_TRUE(waitUntil([&blocker] { return blocker.inside == 0; }));
  ASSERT_TRUE(CloseHandle(blocker.release));
}

TEST_F(SimulatorCompletions, KeepTheLibraryLoadedUntilDelivered) {
  loadWith(R"({"functions": {
    "Kernel_StartAccel": {"completions": [{"afterMs": 300, "state": 1}, {"state": 4}]}}})");
  ReceivedResults& received = newResults();
  EXPECT_EQ(start(received), 1);
  unload();
  EXPECT_TRUE(loaded());
  ASSERT_TRUE(received.waitFor(2));
  EXPECT_THAT(statesOf(received), ElementsAre(1U, 4U));
  EXPECT_TRUE(waitUntil([this] { return !loaded(); }));
}

using SimulatorCompletionsDeathTest = SimulatorCompletions;

TEST_F(SimulatorCompletionsDeathTest, DoNotDisturbTheEndOfTheProcess) {
  EXPECT_EXIT(
      {
        loadWith(R"({"functions": {
          "Kernel_StartAccel": {"completions": [{"afterMs": 1, "times": 1000000, "state": 1}]},
          "Kernel_StopAccel": {"completions": [{"afterMs": 3600000}]}}})");
        static ReceivedResults results;
        static ReceivedCodes codes;
        (void)stop(codes);
        (void)start(results);
        (void)results.waitFor(1);
        ExitProcess(7);
      },
      testing::ExitedWithCode(7), "");
}

TEST_F(SimulatorCompletionsDeathTest, DoNotDisturbTheEndOfTheProcessAfterUnloading) {
  EXPECT_EXIT(
      {
        loadWith(R"({"functions": {"Kernel_StopAccel": {"completions": [{"afterMs": 3600000}]}}})");
        static ReceivedCodes codes;
        (void)stop(codes);
        unload();
        std::exit(8);
      },
      testing::ExitedWithCode(8), "");
}

}  // namespace
}  // namespace orva_accelerator::test
