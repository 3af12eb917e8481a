// Starting: three states of progress, then accelerating.
#include "simulator/accelerator.h"
#include "simulator/call.h"
#include "simulator/deliveries.h"
#include "simulator/exports.h"

using orva_accelerator::sdk::KernelAccelCompletion;
using orva_accelerator::sdk::KernelAccelResult;
using orva_accelerator::sdk::KernelBool;
using namespace orva_accelerator::simulator;

namespace {

constexpr std::uint32_t kProgressDelayMs = 40;

std::vector<CompletionStep> usualSteps() {
  std::vector<CompletionStep> steps(4);
  for (std::uint32_t i = 0; i < 4; ++i) {
    steps[i].afterMs = kProgressDelayMs;
    steps[i].state = i + 1;
  }
  return steps;
}

// The text of a result, alive until the delivery is over; null when the scenario wants none.
const wchar_t* resultText(const std::optional<ResultText>& given, const std::wstring& usual) {
  if (!given) return usual.c_str();
  return given->null ? nullptr : given->text.c_str();
}

KernelAccelResult resultOf(const AccelTarget& target, const CompletionStep& step) {
  const std::uint32_t progress = step.state < 4 ? step.state * 25 : 100;
  return {step.value1.value_or(target.request.gameId),
          step.value2.value_or(target.request.areaId),
          resultText(step.text1, target.gameText),
          step.value3.value_or(target.node.nodeId),
          step.value4.value_or(progress),
          step.state,
          step.value5.value_or(target.node.value1),
          resultText(step.text2, target.node.text)};
}

void deliver(const char* function, void* context, KernelAccelCompletion completion,
             const AccelTarget& target, const CompletionStep& step) {
  LogEntry entry("completion", function);
  if (step.nullRecord) {
    entry.pointer("record", false).write();
    completion(context, nullptr, nullptr);
    return;
  }
  const KernelAccelResult result = resultOf(target, step);
  entry.number("value1", result.value1)
      .number("value2", result.value2)
      .text("text1", result.text1)
      .number("value3", result.value3)
      .number("value4", result.value4)
      .number("state", result.state)
      .number("value5", result.value5)
      .text("text2", result.text2)
      .write();
  reachState(target, step.state);
  completion(context, nullptr, &result);
}

// The arguments of a start, as they came in.
struct Arguments {
  void* context;
  std::uint32_t startArg1;
  std::uint32_t startArg2;
  const wchar_t* startText;
  KernelBool isAuto;
  const wchar_t* nodeList;
  std::uint32_t startArg3;
  std::optional<std::uint32_t> startArg4;
  KernelAccelCompletion completion;
};

void log(LogEntry entry, const Arguments& arguments) {
  entry.pointer("context", arguments.context != nullptr)
      .number("startArg1", arguments.startArg1)
      .number("startArg2", arguments.startArg2)
      .text("startText", arguments.startText)
      .number("isAuto", std::uint32_t{arguments.isAuto})
      .text("nodeList", arguments.nodeList)
      .number("startArg3", arguments.startArg3);
  if (arguments.startArg4) entry.number("startArg4", *arguments.startArg4);
  entry.pointer("completion", arguments.completion != nullptr).write();
}

StartRequest requestOf(const Arguments& arguments) {
  const auto textOf = [](const wchar_t* text) {
    return std::wstring(text == nullptr ? L"" : text);
  };
  return {arguments.startArg1,   arguments.startArg2,        textOf(arguments.startText),
          arguments.isAuto != 0, textOf(arguments.nodeList), arguments.startArg3};
}

KernelBool start(const char* function, const Arguments& arguments) {
  const Call call(function);
  log(call.log(), arguments);
  call.raiseIfAsked();
  if (call.accepted() && arguments.completion != nullptr) {
    const CallBehaviour& behaviour = call.behaviour();
    const auto target = std::make_shared<const AccelTarget>(
        findTarget(call.scenario().catalogue, requestOf(arguments)));
    CalledOff calledOff = beginAcceleration(*target, behaviour.survivesStop);
    deliverSteps(
        behaviour.completions ? *behaviour.completions : usualSteps(),
        [function, arguments, target](const CompletionStep& step) {
          deliver(function, arguments.context, arguments.completion, *target, step);
        },
        std::move(calledOff));
  }
  return call.finish();
}

}  // namespace

extern "C" KernelBool Kernel_StartAccel(void* context, std::uint32_t startArg1,
                                        std::uint32_t startArg2, const wchar_t* startText,
                                        KernelBool isAuto, const wchar_t* nodeList,
                                        std::uint32_t startArg3, KernelAccelCompletion completion) {
  return guarded([&] {
    return start("Kernel_StartAccel", {context, startArg1, startArg2, startText, isAuto, nodeList,
                                       startArg3, std::nullopt, completion});
  });
}

extern "C" KernelBool Kernel_StartAccelEx(void* context, std::uint32_t startArg1,
                                          std::uint32_t startArg2, const wchar_t* startText,
                                          KernelBool isAuto, const wchar_t* nodeList,
                                          std::uint32_t startArg3, std::uint32_t startArg4,
                                          KernelAccelCompletion completion) {
  return guarded([&] {
    return start("Kernel_StartAccelEx", {context, startArg1, startArg2, startText, isAuto, nodeList,
                                         startArg3, startArg4, completion});
  });
}
