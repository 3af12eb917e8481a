// Carries out the completion steps of an accepted call.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "simulator/scenario.h"

namespace orva_accelerator::simulator {

// Set to call off what has not been delivered yet.
using CalledOff = std::shared_ptr<std::atomic<bool>>;

// Calls `deliver` for the inline steps now, in order, and for the others in order on the library's
// threads, the first one counted from now. `calledOff` may be null.
void deliverSteps(const std::vector<CompletionStep>& steps,
                  std::function<void(const CompletionStep&)> deliver, CalledOff calledOff);

}  // namespace orva_accelerator::simulator
