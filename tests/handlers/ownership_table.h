// Every state of the ownership crossed with every event, and what comes of it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/handlers/acceleration_bench.h"

namespace orva_accelerator::test {

struct Event {
  std::string name;
  // Makes it happen; gives the answer if a client has asked something.
  std::function<std::optional<Bytes>(AccelerationBench&)> happen;
};

struct Row {
  State state;
  Event event;
  const char* after;          // See shown(AccelerationOwnership).
  const char* calls;          // See AccelerationBench::calls.
  const char* answer;         // In hexadecimal.
  const char* notifications;  // See AccelerationBench::notifications.
};

enum Verdict { kAccepted = 1, kRefused = 0 };

// A start request and what the library says to it.
Event start(std::uint32_t client, Verdict verdict);
Event startEx(std::uint32_t client, Verdict verdict);
// The same when the library refuses the stop that comes first.
Event startExAfterRefusedStop(std::uint32_t client);
// The library reports a state before its start function returns.
Event startReporting(std::uint32_t client, std::uint32_t state, Verdict verdict);
Event startExReporting(std::uint32_t client, std::uint32_t state, Verdict verdict);

// The library reports a state of the latest start.
Event result(std::uint32_t state);

// A stop request that is not completed, completed later, completed before the library's stop
// function returns, refused.
Event stop(std::uint32_t client);
Event stopCompleting(std::uint32_t client, int code);
Event stopCompletingInside(std::uint32_t client, int code);
Event stopRefused(std::uint32_t client);
// Completed only after another client has asked for a start.
Event stopCompletingAfterAStart(std::uint32_t client, std::uint32_t starting);

// The completion of a stop that the service made by itself: for an extended start of `client`, for
// the leave of `client`.
Event startExStopCompleting(std::uint32_t client, int code);
Event leaveStopRefused(std::uint32_t client);
Event leaveStopCompleting(std::uint32_t client, int code);

Event leave(std::uint32_t client);

// The events after which the server does not run any more.
Event leaveAsLast(std::uint32_t client);
Event supervisorFindsNobody();

}  // namespace orva_accelerator::test
