#include "simulator/scenario.h"

#include <algorithm>
#include <array>

#include "simulator/catalogue_reader.h"
#include "simulator/json_object.h"

namespace orva_accelerator::simulator {
namespace {

constexpr std::uint32_t kUsualDelayMs = 20;
constexpr std::uint32_t kMaximumThreadsOfStep = 16;

enum class Family { Plain, Code, Start, List };

struct FunctionName {
  std::string_view name;
  Family family;
};

constexpr std::array kFunctionNames{
    FunctionName{"Kernel_Init", Family::Plain},
    FunctionName{"Kernel_SetSdkChannelNumber", Family::Plain},
    FunctionName{"Kernel_UserLoginFromAccount", Family::Code},
    FunctionName{"Kernel_StartAccel", Family::Start},
    FunctionName{"Kernel_StartAccelEx", Family::Start},
    FunctionName{"Kernel_StopAccel", Family::Code},
    FunctionName{"Kernel_GetAccelData", Family::Plain},
    FunctionName{"Kernel_GetConsoleData", Family::Plain},
    FunctionName{"Kernel_GetGameDataFromGameID", Family::Plain},
    FunctionName{"Kernel_GetGameLastAccelInfo", Family::Plain},
    FunctionName{"Kernel_GetGameServerDataList", Family::List},
    FunctionName{"Kernel_GetGameNodeDataList", Family::List},
    FunctionName{"Kernel_GetGameUsedNodeDataList", Family::List},
    FunctionName{"Kernel_GetTestSpeedData_V2", Family::List},
};

void readResultText(JsonObject& object, std::string_view key, std::optional<ResultText>& target) {
  const Json* value = object.find(key);
  if (value == nullptr) return;
  target.emplace();
  target->null = value->is_null();
  if (!target->null) target->text = toText(*value, object.pathOf(key));
}

void readStartStep(JsonObject& object, const std::string& path, CompletionStep& step) {
  object.read("nullRecord", step.nullRecord);
  if (object.find("state") == nullptr && !step.nullRecord) failAt(path, "the step has no state");
  object.read("state", step.state);
  object.read("value1", step.value1);
  object.read("value2", step.value2);
  object.read("value3", step.value3);
  object.read("value4", step.value4);
  object.read("value5", step.value5);
  readResultText(object, "text1", step.text1);
  readResultText(object, "text2", step.text2);
}

// A bare number is a code or a state after the usual delay.
CompletionStep readStep(const Json& value, const std::string& path, Family family) {
  CompletionStep step;
  step.afterMs = kUsualDelayMs;
  if (value.is_number()) {
    if (family == Family::Start) {
      step.state = toU32(value, path);
    } else {
      step.code = toI32(value, path);
    }
    return step;
  }
  JsonObject object(value, path);
  object.read("inline", step.isInline);
  if (step.isInline) step.afterMs = 0;
  object.read("afterMs", step.afterMs);
  object.read("times", step.times);
  object.read("threads", step.threads);
  if (step.threads < 1 || step.threads > kMaximumThreadsOfStep) {
    failAt(object.pathOf("threads"), "1 to 16 threads are possible");
  }
  if (family == Family::Start) {
    readStartStep(object, path, step);
  } else {
    object.read("code", step.code);
  }
  object.finish();
  return step;
}

void readCompletions(JsonObject& object, Family family, CallBehaviour& behaviour) {
  std::vector<CompletionStep> steps;
  if (object.readEach("completions", [&steps, family](const Json& step, const std::string& path) {
        steps.push_back(readStep(step, path, family));
      })) {
    behaviour.completions = std::move(steps);
  }
}

ListCall readListCall(JsonObject& parent, std::string_view key) {
  ListCall call;
  const Json* value = parent.find(key);
  if (value == nullptr) return call;
  JsonObject object(*value, parent.pathOf(key));
  object.read("refuse", call.refuse);
  object.read("count", call.count);
  object.finish();
  return call;
}

void readRaise(JsonObject& object, std::optional<DWORD>& raise) {
  const Json* value = object.find("raise");
  if (value == nullptr) return;
  if (value->is_number()) {
    raise = toU32(*value, object.pathOf("raise"));
  } else if (*value == "accessViolation") {
    raise = EXCEPTION_ACCESS_VIOLATION;
  } else {
    failAt(object.pathOf("raise"), "\"accessViolation\" or an exception code is expected");
  }
}

CallBehaviour readBehaviour(const Json& value, const std::string& path, Family family) {
  JsonObject object(value, path);
  CallBehaviour behaviour;
  bool refuse = false;
  object.read("refuse", refuse);
  if (refuse) behaviour.result = 0;
  object.read("result", behaviour.result);
  object.read("blockMs", behaviour.blockMs);
  readRaise(object, behaviour.raise);
  if (family == Family::Code || family == Family::Start) {
    readCompletions(object, family, behaviour);
  }
  if (family == Family::Start) object.read("survivesStop", behaviour.survivesStop);
  if (family == Family::List) {
    behaviour.countingCall = readListCall(object, "countingCall");
    behaviour.fillingCall = readListCall(object, "fillingCall");
  }
  object.finish();
  return behaviour;
}

std::vector<CallBehaviour> readFunction(const Json& value, const std::string& path, Family family) {
  std::vector<CallBehaviour> behaviours;
  if (!value.is_array()) return {readBehaviour(value, path, family)};
  forEachElement(value, path, [&](const Json& element, const std::string& elementPath) {
    behaviours.push_back(readBehaviour(element, elementPath, family));
  });
  if (behaviours.empty()) failAt(path, "the list is empty");
  return behaviours;
}

void readFunctions(const Json& section, const std::string& path, Scenario& scenario) {
  if (!section.is_object()) failAt(path, "an object is expected");
  for (const auto& [name, value] : section.items()) {
    const std::string functionPath = std::string(path).append(".").append(name);
    const auto known =
        std::ranges::find(kFunctionNames, std::string_view(name), &FunctionName::name);
    if (known == kFunctionNames.end()) failAt(functionPath, "no such function has a behaviour");
    scenario.functions[name] = readFunction(value, functionPath, known->family);
  }
}

void readLog(const Json& section, const std::string& path, LogSettings& log) {
  JsonObject object(section, path);
  object.read("enabled", log.enabled);
  object.read("timestamps", log.timestamps);
  object.read("append", log.append);
  object.finish();
}

}  // namespace

Scenario defaultScenario() {
  Scenario scenario;
  scenario.catalogue = defaultCatalogue();
  return scenario;
}

Scenario parseScenario(std::string_view text) {
  const Json document = Json::parse(text, nullptr, true, true);  // Comments are welcome.
  Scenario scenario = defaultScenario();
  JsonObject object(document, "");
  if (const Json* log = object.find("log")) readLog(*log, "log", scenario.log);
  object.read("watch", scenario.watch);
  if (const Json* catalogue = object.find("catalogue")) {
    readCatalogue(*catalogue, "catalogue", scenario.catalogue);
  }
  if (const Json* functions = object.find("functions")) {
    readFunctions(*functions, "functions", scenario);
  }
  object.finish();
  return scenario;
}

}  // namespace orva_accelerator::simulator
