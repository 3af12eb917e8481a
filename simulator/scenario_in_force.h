// The scenario that the library follows at this moment, kept in step with the file beside it.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "simulator/scenario.h"

namespace orva_accelerator::simulator {

struct LoadedScenario {
  explicit LoadedScenario(Scenario loaded);

  // The behaviour of the next call of `function`, or, unless `next`, once more that of the last
  // one. Lives as long as this object.
  const CallBehaviour& behaviourOf(std::string_view function, bool next);

  const Scenario scenario;

 private:
  std::map<std::string_view, std::atomic<std::uint32_t>> calls_;
};

enum class ReadScenario { Always, WhenChanged };

// Reads the file when it is asked to, when it has not been read yet, or when its time or size
// differ from when it was read and the scenario in force says that it is watched. The same text as
// before changes nothing: behaviours that move on from call to call go on where they are. A file
// that cannot be used leads to the default scenario and a line in the log. Callers keep what they
// were given; the next call may get another.
std::shared_ptr<LoadedScenario> scenarioInForce(ReadScenario reading);

}  // namespace orva_accelerator::simulator
