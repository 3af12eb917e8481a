#include <gtest/gtest.h>

#include "tests/handlers/ownership_table.h"

namespace orva_accelerator::test {
namespace {

constexpr State kIdle = State::Idle;
constexpr State kStarting = State::Starting;
constexpr State kAccelerating = State::Accelerating;
constexpr State kStartingOver = State::StartingOver;

// clang-format off

const std::vector<Row> kStartTable = {
    // from         event                        after    library calls              answer  notifications
    {kIdle,         start(kOwner,  kAccepted),   "- / 7", "StartAccel",              "01",   ""},
    {kIdle,         start(kOther,  kAccepted),   "- / 8", "StartAccel",              "01",   ""},
    {kIdle,         start(kUnknown, kAccepted),  "- / 99", "StartAccel",             "01",   ""},
    {kIdle,         start(kOwner,  kRefused),    "- / -", "StartAccel",              "00",   ""},
    {kIdle,         start(kOther,  kRefused),    "- / -", "StartAccel",              "00",   ""},
    {kIdle,         startEx(kOwner, kAccepted),  "- / 7", "StopAccel, StartAccelEx", "01",   ""},
    {kIdle,         startEx(kOther, kAccepted),  "- / 8", "StopAccel, StartAccelEx", "01",   ""},
    {kIdle,         startEx(kOwner, kRefused),   "- / -", "StopAccel, StartAccelEx", "00",   ""},
    {kIdle,         startEx(kOther, kRefused),   "- / -", "StopAccel, StartAccelEx", "00",   ""},
    {kIdle,         startExAfterRefusedStop(kOther), "- / 8", "StopAccel, StartAccelEx", "01", ""},

    // A pending start is answered without the library, 1 to its own client and 0 to all others.
    {kStarting,     start(kPender, kAccepted),   "- / 9", "",                        "01",   ""},
    {kStarting,     start(kOther,  kAccepted),   "- / 9", "",                        "00",   ""},
    {kStarting,     start(kPender, kRefused),    "- / 9", "",                        "01",   ""},
    {kStarting,     start(kOther,  kRefused),    "- / 9", "",                        "00",   ""},
    {kStarting,     startEx(kPender, kAccepted), "- / 9", "",                        "01",   ""},
    {kStarting,     startEx(kOther, kAccepted),  "- / 9", "",                        "00",   ""},
    {kStarting,     startEx(kPender, kRefused),  "- / 9", "",                        "01",   ""},
    {kStarting,     startEx(kOther, kRefused),   "- / 9", "",                        "00",   ""},

    // A running acceleration does not stand in the way, whoever's it is.
    {kAccelerating, start(kOwner,  kAccepted),   "7 / 7", "StartAccel",              "01",   ""},
    {kAccelerating, start(kOther,  kAccepted),   "7 / 8", "StartAccel",              "01",   ""},
    {kAccelerating, start(kOwner,  kRefused),    "- / -", "StartAccel",              "00",   ""},
    {kAccelerating, start(kOther,  kRefused),    "- / -", "StartAccel",              "00",   ""},
    {kAccelerating, startEx(kOwner, kAccepted),  "- / 7", "StopAccel, StartAccelEx", "01",   ""},
    {kAccelerating, startEx(kOther, kAccepted),  "- / 8", "StopAccel, StartAccelEx", "01",   ""},
    {kAccelerating, startEx(kOwner, kRefused),   "- / -", "StopAccel, StartAccelEx", "00",   ""},
    {kAccelerating, startEx(kOther, kRefused),   "- / -", "StopAccel, StartAccelEx", "00",   ""},
    {kAccelerating, startExAfterRefusedStop(kOther), "- / 8", "StopAccel, StartAccelEx", "01", ""},

    {kStartingOver, start(kPender, kAccepted),   "7 / 9", "",                        "01",   ""},
    {kStartingOver, start(kOwner,  kAccepted),   "7 / 9", "",                        "00",   ""},
    {kStartingOver, start(kOther,  kAccepted),   "7 / 9", "",                        "00",   ""},
    {kStartingOver, start(kPender, kRefused),    "7 / 9", "",                        "01",   ""},
    {kStartingOver, start(kOwner,  kRefused),    "7 / 9", "",                        "00",   ""},
    {kStartingOver, start(kOther,  kRefused),    "7 / 9", "",                        "00",   ""},
    {kStartingOver, startEx(kPender, kAccepted), "7 / 9", "",                        "01",   ""},
    {kStartingOver, startEx(kOwner, kAccepted),  "7 / 9", "",                        "00",   ""},
    {kStartingOver, startEx(kOther, kAccepted),  "7 / 9", "",                        "00",   ""},
    {kStartingOver, startEx(kPender, kRefused),  "7 / 9", "",                        "01",   ""},
    {kStartingOver, startEx(kOwner, kRefused),   "7 / 9", "",                        "00",   ""},
    {kStartingOver, startEx(kOther, kRefused),   "7 / 9", "",                        "00",   ""},
};

// Results that come before the library's start function returns.
const std::vector<Row> kInlineResultTable = {
    {kIdle,         startReporting(kOther, 3, kAccepted),   "- / 8", "StartAccel", "01", "1000 for 8: state 3"},
    {kIdle,         startReporting(kOther, 4, kAccepted),   "8 / -", "StartAccel", "01", "1000 for 8: state 4"},
    {kIdle,         startReporting(kOther, 6, kAccepted),   "- / -", "StartAccel", "01", "1000 for 8: state 6"},
    {kIdle,         startReporting(kOther, 4, kRefused),    "- / -", "StartAccel", "00", "1000 for 8: state 4"},
    {kIdle,         startReporting(kOther, 3, kRefused),    "- / -", "StartAccel", "00", "1000 for 8: state 3"},
    {kIdle,         startExReporting(kOther, 4, kAccepted), "8 / -", "StopAccel, StartAccelEx", "01", "1001 for 8: state 4"},
    {kIdle,         startExReporting(kOther, 3, kAccepted), "- / 8", "StopAccel, StartAccelEx", "01", "1001 for 8: state 3"},
    {kIdle,         startExReporting(kOther, 4, kRefused),  "- / -", "StopAccel, StartAccelEx", "00", "1001 for 8: state 4"},
    {kIdle,         startExReporting(kOther, 7, kRefused),  "- / -", "StopAccel, StartAccelEx", "00", "1001 for 8: state 7"},
    {kAccelerating, startReporting(kOther, 3, kAccepted),   "7 / 8", "StartAccel", "01", "1000 for 8: state 3"},
    {kAccelerating, startReporting(kOther, 4, kAccepted),   "8 / -", "StartAccel", "01", "1000 for 8: state 4"},
    {kAccelerating, startReporting(kOther, 5, kAccepted),   "- / -", "StartAccel", "01", "1000 for 8: state 5"},
    {kAccelerating, startReporting(kOther, 3, kRefused),    "- / -", "StartAccel", "00", "1000 for 8: state 3"},
    {kAccelerating, startReporting(kOther, 4, kRefused),    "- / -", "StartAccel", "00", "1000 for 8: state 4"},
    {kAccelerating, startExReporting(kOther, 3, kAccepted), "- / 8", "StopAccel, StartAccelEx", "01", "1001 for 8: state 3"},
    {kAccelerating, startExReporting(kOther, 4, kAccepted), "8 / -", "StopAccel, StartAccelEx", "01", "1001 for 8: state 4"},
    {kAccelerating, startExReporting(kOther, 6, kAccepted), "- / -", "StopAccel, StartAccelEx", "01", "1001 for 8: state 6"},
    {kAccelerating, startExReporting(kOther, 4, kRefused),  "- / -", "StopAccel, StartAccelEx", "00", "1001 for 8: state 4"},
    {kStarting,     startReporting(kOther, 4, kAccepted),   "- / 9", "", "00", ""},
    {kStarting,     startReporting(kPender, 4, kAccepted),  "- / 9", "", "01", ""},
    {kStarting,     startExReporting(kOther, 4, kAccepted), "- / 9", "", "00", ""},
    {kStarting,     startExReporting(kPender, 4, kAccepted), "- / 9", "", "01", ""},
    {kStartingOver, startReporting(kOther, 4, kAccepted),   "7 / 9", "", "00", ""},
    {kStartingOver, startReporting(kPender, 4, kAccepted),  "7 / 9", "", "01", ""},
    {kStartingOver, startExReporting(kOther, 4, kAccepted), "7 / 9", "", "00", ""},
    {kStartingOver, startExReporting(kPender, 4, kAccepted), "7 / 9", "", "01", ""},
};

// Results count for the client whose start was the latest, in the idle state too: a late one.
const std::vector<Row> kResultTable = {
    {kIdle,         result(0), "- / -", "", "", "1000 for 7: state 0"},
    {kIdle,         result(1), "- / -", "", "", "1000 for 7: state 1"},
    {kIdle,         result(2), "- / -", "", "", "1000 for 7: state 2"},
    {kIdle,         result(3), "- / -", "", "", "1000 for 7: state 3"},
    {kIdle,         result(4), "7 / -", "", "", "1000 for 7: state 4"},
    {kIdle,         result(5), "- / -", "", "", "1000 for 7: state 5"},
    {kIdle,         result(6), "- / -", "", "", "1000 for 7: state 6"},
    {kIdle,         result(7), "- / -", "", "", "1000 for 7: state 7"},
    {kIdle,         result(8), "- / -", "", "", "1000 for 7: state 8"},
    {kIdle,         result(9), "- / -", "", "", "1000 for 7: state 9"},

    {kStarting,     result(0), "- / 9", "", "", "1000 for 9: state 0"},
    {kStarting,     result(1), "- / 9", "", "", "1000 for 9: state 1"},
    {kStarting,     result(2), "- / 9", "", "", "1000 for 9: state 2"},
    {kStarting,     result(3), "- / 9", "", "", "1000 for 9: state 3"},
    {kStarting,     result(4), "9 / -", "", "", "1000 for 9: state 4"},
    {kStarting,     result(5), "- / -", "", "", "1000 for 9: state 5"},
    {kStarting,     result(6), "- / -", "", "", "1000 for 9: state 6"},
    {kStarting,     result(7), "- / -", "", "", "1000 for 9: state 7"},
    {kStarting,     result(8), "- / 9", "", "", "1000 for 9: state 8"},
    {kStarting,     result(9), "- / 9", "", "", "1000 for 9: state 9"},

    {kAccelerating, result(0), "7 / -", "", "", "1000 for 7: state 0"},
    {kAccelerating, result(1), "7 / -", "", "", "1000 for 7: state 1"},
    {kAccelerating, result(2), "7 / -", "", "", "1000 for 7: state 2"},
    {kAccelerating, result(3), "7 / -", "", "", "1000 for 7: state 3"},
    {kAccelerating, result(4), "7 / -", "", "", "1000 for 7: state 4"},
    {kAccelerating, result(5), "- / -", "", "", "1000 for 7: state 5"},
    {kAccelerating, result(6), "- / -", "", "", "1000 for 7: state 6"},
    {kAccelerating, result(7), "- / -", "", "", "1000 for 7: state 7"},
    {kAccelerating, result(8), "7 / -", "", "", "1000 for 7: state 8"},
    {kAccelerating, result(9), "7 / -", "", "", "1000 for 7: state 9"},

    {kStartingOver, result(0), "7 / 9", "", "", "1000 for 9: state 0"},
    {kStartingOver, result(1), "7 / 9", "", "", "1000 for 9: state 1"},
    {kStartingOver, result(2), "7 / 9", "", "", "1000 for 9: state 2"},
    {kStartingOver, result(3), "7 / 9", "", "", "1000 for 9: state 3"},
    {kStartingOver, result(4), "9 / -", "", "", "1000 for 9: state 4"},
    {kStartingOver, result(5), "- / -", "", "", "1000 for 9: state 5"},
    {kStartingOver, result(6), "- / -", "", "", "1000 for 9: state 6"},
    {kStartingOver, result(7), "- / -", "", "", "1000 for 9: state 7"},
    {kStartingOver, result(8), "7 / 9", "", "", "1000 for 9: state 8"},
    {kStartingOver, result(9), "7 / 9", "", "", "1000 for 9: state 9"},
};

// Any client may stop. What counts is the completion, whatever its code.
const std::vector<Row> kStopTable = {
    {kIdle,         stop(kOther),                     "- / -", "StopAccel", "01", ""},
    {kIdle,         stopCompleting(kOther, 0),        "- / -", "StopAccel", "01", "1002 for 8: code 0"},
    {kIdle,         stopCompleting(kOther, 5),        "- / -", "StopAccel", "01", "1002 for 8: code 5"},
    {kIdle,         stopCompletingInside(kOther, 0),  "- / -", "StopAccel", "01", "1002 for 8: code 0"},
    {kIdle,         stopRefused(kOther),              "- / -", "StopAccel", "01", ""},
    {kIdle,         startExStopCompleting(kOther, 0), "- / 8", "StopAccel, StartAccelEx", "01", ""},

    {kIdle,         stopCompletingAfterAStart(kOther, kPender), "- / -", "StopAccel, StartAccel", "01", "1002 for 8: code 0"},

    {kStarting,     stop(kPender),                    "- / 9", "StopAccel", "01", ""},
    {kStarting,     stop(kOther),                     "- / 9", "StopAccel", "01", ""},
    {kStarting,     stopCompleting(kPender, 0),       "- / -", "StopAccel", "01", "1002 for 9: code 0"},
    {kStarting,     stopCompleting(kOther, 0),        "- / -", "StopAccel", "01", "1002 for 8: code 0"},
    {kStarting,     stopCompleting(kOther, -7),       "- / -", "StopAccel", "01", "1002 for 8: code -7"},
    {kStarting,     stopCompletingInside(kOther, 5),  "- / -", "StopAccel", "01", "1002 for 8: code 5"},
    {kStarting,     stopRefused(kPender),             "- / 9", "StopAccel", "01", ""},
    {kStarting,     stopCompleting(kUnknown, 0),      "- / -", "StopAccel", "01", "1002 for 99: code 0"},
    {kStarting,     stopCompletingAfterAStart(kOther, kOwner), "- / -", "StopAccel", "01", "1002 for 8: code 0"},
    {kStarting,     leaveStopCompleting(kPender, 0),  "- / -", "StopAccel", "0000000002000000", ""},

    {kAccelerating, stop(kOwner),                     "7 / -", "StopAccel", "01", ""},
    {kAccelerating, stop(kOther),                     "7 / -", "StopAccel", "01", ""},
    {kAccelerating, stopCompleting(kOwner, 0),        "- / -", "StopAccel", "01", "1002 for 7: code 0"},
    {kAccelerating, stopCompleting(kOther, 0),        "- / -", "StopAccel", "01", "1002 for 8: code 0"},
    {kAccelerating, stopCompleting(kUnknown, 0),      "- / -", "StopAccel", "01", "1002 for 99: code 0"},
    {kAccelerating, stopCompleting(kOwner, 10061),    "- / -", "StopAccel", "01", "1002 for 7: code 10061"},
    {kAccelerating, stopCompletingInside(kOwner, 0),  "- / -", "StopAccel", "01", "1002 for 7: code 0"},
    {kAccelerating, stopRefused(kOwner),              "7 / -", "StopAccel", "01", ""},
    {kAccelerating, startExStopCompleting(kOther, 0), "- / 8", "StopAccel, StartAccelEx", "01", ""},
    {kAccelerating, startExStopCompleting(kOther, 5), "- / 8", "StopAccel, StartAccelEx", "01", ""},
    {kAccelerating, stopCompletingAfterAStart(kOther, kPender), "- / -", "StopAccel, StartAccel", "01", "1002 for 8: code 0"},
    {kAccelerating, leaveStopCompleting(kOwner, 0),   "- / -", "StopAccel", "0000000002000000", ""},

    {kStartingOver, stop(kPender),                    "7 / 9", "StopAccel", "01", ""},
    {kStartingOver, stop(kOwner),                     "7 / 9", "StopAccel", "01", ""},
    {kStartingOver, stop(kOther),                     "7 / 9", "StopAccel", "01", ""},
    {kStartingOver, stopCompleting(kOwner, 0),        "- / -", "StopAccel", "01", "1002 for 7: code 0"},
    {kStartingOver, stopCompleting(kPender, 0),       "- / -", "StopAccel", "01", "1002 for 9: code 0"},
    {kStartingOver, stopCompleting(kOther, 1),        "- / -", "StopAccel", "01", "1002 for 8: code 1"},
    {kStartingOver, stopCompletingInside(kOther, 1),  "- / -", "StopAccel", "01", "1002 for 8: code 1"},
    {kStartingOver, stopCompleting(kUnknown, 0),      "- / -", "StopAccel", "01", "1002 for 99: code 0"},
    {kStartingOver, stopRefused(kOther),              "7 / 9", "StopAccel", "01", ""},
    {kStartingOver, stopCompletingAfterAStart(kOther, kOwner), "- / -", "StopAccel", "01", "1002 for 8: code 0"},
    {kStartingOver, leaveStopCompleting(kOwner, 0),   "- / -", "StopAccel", "0000000002000000", ""},
    {kStartingOver, leaveStopCompleting(kPender, 0),  "- / -", "StopAccel", "0000000002000000", ""},
};

// While others remain, a leave ends the acceleration of its own client, running or pending.
const std::vector<Row> kLeaveTable = {
    {kIdle,         leave(kOwner),   "- / -", "",          "0000000002000000", ""},
    {kIdle,         leave(kOther),   "- / -", "",          "0000000002000000", ""},
    {kIdle,         leave(kUnknown), "- / -", "",          "0000000003000000", ""},
    {kIdle,         leave(0),        "- / -", "",          "0000000003000000", ""},

    {kStarting,     leave(kPender),  "- / -", "StopAccel", "0000000002000000", ""},
    {kStarting,     leave(kOwner),   "- / 9", "",          "0000000002000000", ""},
    {kStarting,     leave(kOther),   "- / 9", "",          "0000000002000000", ""},
    {kStarting,     leave(kUnknown), "- / 9", "",          "0000000003000000", ""},
    {kStarting,     leave(0),        "- / 9", "",          "0000000003000000", ""},

    {kAccelerating, leave(kOwner),   "- / -", "StopAccel", "0000000002000000", ""},
    {kAccelerating, leaveStopRefused(kOwner), "- / -", "StopAccel", "0000000002000000", ""},
    {kAccelerating, leave(kPender),  "7 / -", "",          "0000000002000000", ""},
    {kAccelerating, leave(kOther),   "7 / -", "",          "0000000002000000", ""},
    {kAccelerating, leave(kUnknown), "7 / -", "",          "0000000003000000", ""},
    {kAccelerating, leave(0),        "7 / -", "",          "0000000003000000", ""},

    {kStartingOver, leave(kOwner),   "- / -", "StopAccel", "0000000002000000", ""},
    {kStartingOver, leave(kPender),  "- / -", "StopAccel", "0000000002000000", ""},
    {kStartingOver, leave(kOther),   "7 / 9", "",          "0000000002000000", ""},
    {kStartingOver, leave(kUnknown), "7 / 9", "",          "0000000003000000", ""},
    {kStartingOver, leave(0),        "7 / 9", "",          "0000000003000000", ""},
};

// What ends the server ends every acceleration first, with one stop and no notification.
const std::vector<Row> kEndTable = {
    {kIdle,         leaveAsLast(kOwner),      "- / -", "",          "0100000000000000", ""},
    {kIdle,         leaveAsLast(kOther),      "- / -", "",          "0100000000000000", ""},
    {kIdle,         leaveAsLast(kUnknown),    "- / -", "",          "0100000000000000", ""},
    {kStarting,     leaveAsLast(kUnknown),    "- / -", "StopAccel", "0100000000000000", ""},
    {kStarting,     leaveAsLast(kPender),     "- / -", "StopAccel", "0100000000000000", ""},
    {kStarting,     leaveAsLast(kOther),      "- / -", "StopAccel", "0100000000000000", ""},
    {kAccelerating, leaveAsLast(kOwner),      "- / -", "StopAccel", "0100000000000000", ""},
    {kAccelerating, leaveAsLast(kOther),      "- / -", "StopAccel", "0100000000000000", ""},
    {kAccelerating, leaveAsLast(kUnknown),    "- / -", "StopAccel", "0100000000000000", ""},
    {kStartingOver, leaveAsLast(kUnknown),    "- / -", "StopAccel", "0100000000000000", ""},
    {kStartingOver, leaveAsLast(kOwner),      "- / -", "StopAccel", "0100000000000000", ""},
    {kStartingOver, leaveAsLast(kPender),     "- / -", "StopAccel", "0100000000000000", ""},
    {kStartingOver, leaveAsLast(kOther),      "- / -", "StopAccel", "0100000000000000", ""},

    {kIdle,         supervisorFindsNobody(),  "- / -", "",          "", ""},
    {kStarting,     supervisorFindsNobody(),  "- / -", "StopAccel", "", ""},
    {kAccelerating, supervisorFindsNobody(),  "- / -", "StopAccel", "", ""},
    {kStartingOver, supervisorFindsNobody(),  "- / -", "StopAccel", "", ""},
};

// clang-format on

std::string packedHex(const Bytes& bytes) {
  std::string hex = hexFromBytes(bytes);
  std::erase(hex, ' ');
  return hex;
}

void check(AccelerationBench& bench, const Row& row) {
  SCOPED_TRACE(std::string(nameOf(row.state)) + ", " + row.event.name);
  bench.enter(row.state);
  const std::optional<Bytes> answer = row.event.happen(bench);
  EXPECT_EQ(shown(bench.server->ownership), row.after);
  EXPECT_EQ(bench.calls(), row.calls);
  EXPECT_EQ(answer ? packedHex(*answer) : "", row.answer);
  EXPECT_EQ(bench.notifications(), row.notifications);
}

void checkOnOneServer(const std::vector<Row>& table) {
  AccelerationBench bench;
  for (const Row& row : table) check(bench, row);
  EXPECT_TRUE(bench.server->isRunning());
}

TEST(OwnershipTable, HoldsForStartRequests) {
  checkOnOneServer(kStartTable);
}

TEST(OwnershipTable, HoldsForResultsInsideTheStartCall) {
  checkOnOneServer(kInlineResultTable);
}

TEST(OwnershipTable, HoldsForResults) {
  checkOnOneServer(kResultTable);
}

TEST(OwnershipTable, HoldsForStops) {
  for (const Row& row : kStopTable) {
    AccelerationBench bench;
    check(bench, row);
    EXPECT_TRUE(bench.server->isRunning());
  }
}

TEST(OwnershipTable, HoldsForLeavingClients) {
  for (const Row& row : kLeaveTable) {
    AccelerationBench bench;
    check(bench, row);
    EXPECT_TRUE(bench.server->isRunning());
  }
}

TEST(OwnershipTable, HoldsForWhatEndsTheServer) {
  for (const Row& row : kEndTable) {
    AccelerationBench bench;
    check(bench, row);
    EXPECT_FALSE(bench.server->isRunning());
    EXPECT_EQ(WaitForSingleObject(bench.server.inspect().stopEvent(), 0), WAIT_OBJECT_0);
  }
}

}  // namespace
}  // namespace orva_accelerator::test
