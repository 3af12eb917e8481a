#include "simulator/call.h"

#include <windows.h>

namespace orva_accelerator::simulator {

Call::Call(std::string_view function, Turn turn, ReadScenario reading)
    : function_(function),
      loaded_(scenarioInForce(reading)),
      behaviour_(loaded_->behaviourOf(function, turn == Turn::Next)) {}

void Call::raiseIfAsked() const {
  if (!behaviour_.raise) return;
  // What the system itself passes along with a write to address 0.
  const ULONG_PTR writeToNull[] = {1, 0};
  const bool violation = *behaviour_.raise == EXCEPTION_ACCESS_VIOLATION;
  RaiseException(*behaviour_.raise, 0, violation ? 2 : 0, violation ? writeToNull : nullptr);
}

sdk::KernelBool Call::finish(bool failed) const {
  if (behaviour_.blockMs != 0) Sleep(behaviour_.blockMs);
  return failed ? sdk::KernelBool{0} : behaviour_.result;
}

}  // namespace orva_accelerator::simulator
