// Stopping: at once, reported a moment later, whether or not anything was running.
#include "simulator/accelerator.h"
#include "simulator/call.h"
#include "simulator/deliveries.h"
#include "simulator/exports.h"

using orva_accelerator::sdk::KernelBool;
using orva_accelerator::sdk::KernelCodeCompletion;
using namespace orva_accelerator::simulator;

namespace {

std::vector<CompletionStep> usualSteps() {
  CompletionStep step;
  step.afterMs = 20;
  return {step};
}

}  // namespace

extern "C" KernelBool Kernel_StopAccel(void* context, KernelCodeCompletion completion) {
  return guarded([&] {
    const Call call("Kernel_StopAccel");
    call.log()
        .pointer("context", context != nullptr)
        .pointer("completion", completion != nullptr)
        .write();
    call.raiseIfAsked();
    if (call.accepted()) {
      endAcceleration();
      if (completion != nullptr) {
        const auto deliver = [context, completion](const CompletionStep& step) {
          LogEntry("completion", "Kernel_StopAccel").number("code", step.code).write();
          completion(context, step.code, nullptr);
        };
        const auto& given = call.behaviour().completions;
        deliverSteps(given ? *given : usualSteps(), deliver, nullptr);
      }
    }
    return call.finish();
  });
}
