// Start, stop and owner requests as they come over the pipe.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "ipc/wire/messages.h"
#include "ipc/wire/requests.h"
#include "sdk/kernel_function_table.h"
#include "tests/handlers/acceleration_bench.h"
#include "tests/support/ownership_inspector.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;

constexpr const char* kRequests = "requests.json";
constexpr const char* kResponses = "responses.json";

Bytes startWithSelection(std::uint32_t type, const std::string& selection) {
  ipc::StartAccelExRequest request = {};
  request.start.nodeSelectionLength = static_cast<std::uint16_t>(selection.size());
  const std::size_t fixedSize =
      type == ipc::MsgStartAccel ? sizeof(request.start) : sizeof(request);
  Bytes payload(fixedSize + selection.size());
  std::memcpy(payload.data(), &request, fixedSize);
  std::memcpy(payload.data() + fixedSize, selection.data(), selection.size());
  return payload;
}

class AccelControl : public testing::Test {
 protected:
  std::optional<Bytes> ask(const char* vector) {
    return bench.requests.askBytes(goldenVector(kRequests, vector).bytes);
  }
  std::string ownership() const { return shown(bench.server->ownership); }

  AccelerationBench bench;
  ipc::AccelerationOwnership& fields = bench.server->ownership;
};

// --- Starts -------------------------------------------------------------------------------------

TEST_F(AccelControl, RefusedStartsAnswer0) {
  bench.kernel.Kernel_StartAccel = [](auto...) { return sdk::KernelBool{0}; };
  bench.kernel.Kernel_StartAccelEx = [](auto...) { return sdk::KernelBool{0}; };
  const auto start = ask("start_accel_auto");
  const auto startEx = ask("start_accel_ex_auto");
  ASSERT_TRUE(start && startEx);
  EXPECT_TRUE(isPayload(goldenVector(kResponses, "start_accel_refused"), *start));
  EXPECT_TRUE(isPayload(goldenVector(kResponses, "start_accel_ex_refused"), *startEx));
}

TEST_F(AccelControl, StartsWithoutLibraryAnswer0AndClearTheOwnership) {
  bench.enter(State::Accelerating);
  sdk::kernelFunctions.clear();
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStartAccel), Bytes{0});
  EXPECT_EQ(ownership(), "- / -");
  fields.settle(4, kOwner);
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStartAccelEx), Bytes{0});
  EXPECT_EQ(ownership(), "- / -");
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStopAccel), Bytes{1});
}

TEST_F(AccelControl, StartIsPendingAlreadyWhenTheLibraryIsCalled) {
  std::string seen;
  bench.enter(State::Accelerating);
  bench.kernel.Kernel_StartAccel = [&](auto...) {
    seen = ownership();
    return sdk::KernelBool{1};
  };
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStartAccel), Bytes{1});
  EXPECT_EQ(seen, "7 / 8");
}

TEST_F(AccelControl, ExtendedStartIsPendingDuringItsStopAndForgetsWhatRanBeforeItStarts) {
  std::string duringStop;
  std::string duringStart;
  bench.enter(State::Accelerating);
  bench.kernel.Kernel_StopAccel = [&](auto...) {
    duringStop = ownership();
    return sdk::KernelBool{1};
  };
  bench.kernel.Kernel_StartAccelEx = [&](auto...) {
    duringStart = ownership();
    return sdk::KernelBool{1};
  };
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStartAccelEx), Bytes{1});
  EXPECT_EQ(duringStop, "7 / 8");
  EXPECT_EQ(duringStart, "- / 8");
}

TEST_F(AccelControl, ResultsOfAnExtendedStartHaveTheirOwnType) {
  bench.enter(State::Idle);
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStartAccelEx), Bytes{1});
  bench.reportState(3);
  bench.reportState(4);
  EXPECT_EQ(bench.notifications(), "1001 for 8: state 3, 1001 for 8: state 4");
}

TEST_F(AccelControl, ResultsGoToTheClientOfTheLatestStartOnly) {
  bench.enter(State::Accelerating);  // kOwner's.
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStartAccel), Bytes{1});
  bench.reportState(1);
  bench.reportState(4);
  bench.reportState(5);
  EXPECT_EQ(bench.notifications(), "1000 for 8: state 1, 1000 for 8: state 4, 1000 for 8: state 5");
}

TEST_F(AccelControl, ResultsCountAfterAStopAndAfterTheirClientHasLeft) {
  bench.enter(State::Accelerating);
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStopAccel), Bytes{1});
  bench.reportState(6);
  EXPECT_EQ(bench.notifications(), "1000 for 7: state 6");
  EXPECT_TRUE(bench.ask(kOwner, ipc::MsgClientLeaving));
  bench.reportState(4);
  EXPECT_EQ(ownership(), "7 / -");
}

TEST_F(AccelControl, StartOfClient0IsPendingForClient0) {
  bench.enter(State::Idle);
  EXPECT_EQ(bench.ask(0, ipc::MsgStartAccel), Bytes{1});
  EXPECT_TRUE(fields.isPendingFor(0));
  EXPECT_EQ(bench.ask(0, ipc::MsgStartAccel), Bytes{1});
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStartAccel), Bytes{0});
  EXPECT_EQ(bench.calls(), "StartAccel");
}

TEST_F(AccelControl, StartWithTextLengthsBeyondItsPayloadReadsZeros) {
  bench.enter(State::Idle);
  ipc::StartAccelRequest request = {};
  request.startArg1 = 1;
  request.startTextLength = 65'535;
  Bytes payload(sizeof(request));
  std::memcpy(payload.data(), &request, sizeof(request));
  EXPECT_EQ(bench.requests.ask(kOther, ipc::MsgStartAccel, payload), Bytes{1});
  EXPECT_THAT(bench.kernel.calls(), ElementsAre("Kernel_StartAccel(1, 0, \"\", 1, \"\", 0)"));
}

TEST_F(AccelControl, StartDuringAPendingOneDoesNotReadItsSelection) {
  bench.enter(State::Starting);
  for (const std::uint32_t type : {ipc::MsgStartAccel, ipc::MsgStartAccelEx}) {
    const Bytes payload = startWithSelection(type, "x");
    EXPECT_EQ(bench.requests.ask(kOther, type, payload), Bytes{0});
    EXPECT_EQ(bench.requests.ask(kPender, type, payload), Bytes{1});
  }
}

// --- Malformed node selections ------------------------------------------------------------------

// In a process of its own: sends the request and reports an answer that should never come.
void sendStartWithSelection(std::uint32_t type, const std::string& selection) {
  AccelerationBench bench;
  (void)bench.requests.ask(kOwner, type, startWithSelection(type, selection));
  (void)std::fprintf(stderr, "still alive\n");
}

class MalformedSelection : public testing::TestWithParam<const char*> {};

TEST_P(MalformedSelection, EndsTheProcess) {
  for (const std::uint32_t type : {ipc::MsgStartAccel, ipc::MsgStartAccelEx}) {
    EXPECT_EXIT(
        {
          sendStartWithSelection(type, GetParam());
          std::_Exit(0);
        },
        testing::ExitedWithCode(3), testing::Not(testing::HasSubstr("still alive")));
  }
}

INSTANTIATE_TEST_SUITE_P(Selections, MalformedSelection,
                         testing::Values("AUTO", "1;x;2", " ", "2147483648"));

// --- Stops --------------------------------------------------------------------------------------

TEST_F(AccelControl, EachStopReplacesTheOneBeforeAndOnlyTheLatestIsToldOfTheOutcome) {
  EXPECT_EQ(bench.ask(kOwner, ipc::MsgStopAccel), Bytes{1});
  const RunningServer later;  // Has not been asked.
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStopAccel), Bytes{1});
  bench.reportStop(0);
  bench.reportStop(5);
  EXPECT_EQ(bench.notifications(), "1002 for 8: code 0, 1002 for 8: code 5");
}

TEST_F(AccelControl, StopOfTheServicesOwnSilencesTheStopOfAClient) {
  bench.enter(State::Accelerating);
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStopAccel), Bytes{1});
  EXPECT_EQ(bench.ask(kPender, ipc::MsgStartAccelEx), Bytes{1});
  bench.reportStop(0);
  EXPECT_EQ(bench.notifications(), "");
  EXPECT_EQ(ownership(), "- / 9");
}

TEST_F(AccelControl, RefusedStopTakesOverTheOutcomeOfAnEarlierStop) {
  bench.enter(State::Accelerating);
  EXPECT_EQ(bench.ask(kOwner, ipc::MsgStopAccel), Bytes{1});
  bench.kernel.Kernel_StopAccel = [](auto...) { return sdk::KernelBool{0}; };
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStopAccel), Bytes{1});
  bench.reportStop(4);
  EXPECT_EQ(bench.notifications(), "1002 for 8: code 4");
  EXPECT_EQ(ownership(), "- / -");
}

TEST_F(AccelControl, StopReportedToAStoppedServerClearsTheOwnershipAllTheSame) {
  bench.enter(State::Accelerating);
  EXPECT_EQ(bench.ask(kOwner, ipc::MsgStopAccel), Bytes{1});
  bench.server->stop();
  bench.reportStop(0);
  EXPECT_EQ(ownership(), "- / -");
}

TEST_F(AccelControl, ResultsAfterAReleaseAreToldAndSettleTheOwnership) {
  EXPECT_EQ(bench.ask(kOther, ipc::MsgSdkInit), (Bytes{1, 0, 0, 0}));
  EXPECT_EQ(bench.ask(kPender, ipc::MsgStartAccel), Bytes{1});
  bench.kernel.clearCalls();
  EXPECT_EQ(bench.ask(kOther, ipc::MsgSdkRelease), (Bytes{1, 0, 0, 0}));
  EXPECT_EQ(bench.calls(), "");
  EXPECT_EQ(ownership(), "- / 9");
  EXPECT_EQ(bench.ask(kOther, ipc::MsgSdkInit), (Bytes{1, 0, 0, 0}));
  bench.reportState(4);
  EXPECT_EQ(bench.notifications(), "1000 for 9: state 4");
  EXPECT_EQ(ownership(), "9 / -");
  EXPECT_EQ(bench.ask(kOther, ipc::MsgStopAccel), Bytes{1});
  EXPECT_EQ(bench.ask(kOther, ipc::MsgSdkRelease), (Bytes{1, 0, 0, 0}));
  EXPECT_EQ(ownership(), "9 / -");
  bench.reportStop(0);
  EXPECT_EQ(bench.notifications(), "1002 for 8: code 0");
  EXPECT_EQ(ownership(), "- / -");
}

// --- Who owns it --------------------------------------------------------------------------------

TEST_F(AccelControl, OwnerQueryTellsOwnersFromOthers) {
  struct {
    State state;
    std::uint32_t asks;
    const char* answer;
  } const rows[] = {
      {State::Idle, kOwner, "query_accel_owner_idle"},
      {State::Idle, 0, "query_accel_owner_idle"},
      {State::Starting, kPender, "query_accel_owner_own"},
      {State::Starting, kOther, "query_accel_owner_other"},
      {State::Starting, 0, "query_accel_owner_other"},
      {State::Accelerating, kOwner, "query_accel_owner_own"},
      {State::Accelerating, kOther, "query_accel_owner_other"},
      {State::Accelerating, kUnknown, "query_accel_owner_other"},
      {State::Accelerating, 0, "query_accel_owner_other"},
      {State::StartingOver, kOwner, "query_accel_owner_own"},
      {State::StartingOver, kPender, "query_accel_owner_own"},
      {State::StartingOver, kOther, "query_accel_owner_other"},
      {State::StartingOver, 0, "query_accel_owner_other"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(nameOf(row.state)) + ", asked by " + std::to_string(row.asks));
    bench.enter(row.state);
    const std::string before = ownership();
    const auto answer = bench.ask(row.asks, ipc::MsgQueryAccelOwner);
    ASSERT_TRUE(answer);
    EXPECT_TRUE(isPayload(goldenVector(kResponses, row.answer), *answer));
    EXPECT_EQ(ownership(), before);
    EXPECT_EQ(bench.calls(), "");
  }
}

TEST_F(AccelControl, Client0NeverOwnsWhatItStarted) {
  EXPECT_EQ(bench.ask(0, ipc::MsgStartAccel), Bytes{1});
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(bench.ask(0, ipc::MsgQueryAccelOwner), (Bytes{1, 0}));
    EXPECT_EQ(bench.ask(0, ipc::MsgClientLeaving), (Bytes{0, 0, 0, 0, 3, 0, 0, 0}));
    EXPECT_TRUE(fields.isActive());  // Nor does its leave end it.
    bench.reportState(4);
  }
  EXPECT_EQ(bench.calls(), "StartAccel");
}

}  // namespace
}  // namespace orva_accelerator::test
