// The frame of every simulated call: which scenario and behaviour apply to it, and how it ends.
#pragma once

#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "sdk/kernel_api.h"
#include "simulator/call_log.h"
#include "simulator/scenario.h"
#include "simulator/scenario_in_force.h"

namespace orva_accelerator::simulator {

// Which calls make a behaviour list of a scenario move on.
enum class Turn {
  Next,   // Most calls.
  Again,  // The filling call of a list function: it belongs to the counting call before it.
};

class Call {
 public:
  Call(std::string_view function, Turn turn = Turn::Next,
       ReadScenario reading = ReadScenario::WhenChanged);

  const Scenario& scenario() const { return loaded_->scenario; }
  const CallBehaviour& behaviour() const { return behaviour_; }
  bool accepted() const { return behaviour_.result != 0; }
  LogEntry log() const { return {"call", function_}; }

  // Raises the exception that the scenario asks for, if any. After the call has been logged.
  void raiseIfAsked() const;

  // Blocks for the time that the scenario asks for, then gives the result of the call:
  // `failed` or what the scenario says.
  sdk::KernelBool finish(bool failed = false) const;

 private:
  std::string_view function_;
  std::shared_ptr<LoadedScenario> loaded_;
  const CallBehaviour& behaviour_;
};

// Runs the body of an exported function. No C++ exception may leave the library: its caller was
// built by somebody else.
template <typename Body>
sdk::KernelBool guarded(Body body) {
  try {
    return body();
  } catch (const std::exception& error) {
    logLine(std::string("problem: ") + error.what());
    return 0;
  }
}

}  // namespace orva_accelerator::simulator
