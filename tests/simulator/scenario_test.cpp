// The scenario file itself: when it is read, and what happens when it is wrong.
#include <gmock/gmock.h>

#include "tests/simulator/loaded_simulator.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* refuseInit = R"({"functions": {"Kernel_Init": {"refuse": true}}})";
constexpr const char* usedDefault = "scenario: default";
constexpr const char* usedFile = "scenario: OpenKernel.scenario.json";

class SimulatorScenario : public LoadedSimulator {
 protected:
  sdk::KernelBool init() const { return get<sdk::signature::Kernel_Init>("Kernel_Init")(L"a.exe"); }
  sdk::KernelBool consoleData(std::uint32_t& console1) const {
    sdk::ConsoleDataRecord record{};
    const sdk::KernelBool result =
        get<sdk::signature::Kernel_GetConsoleData>("Kernel_GetConsoleData")(&record);
    console1 = record.console1;
    return result;
  }
  std::uint32_t console1() const {
    std::uint32_t value = 0;
    EXPECT_EQ(consoleData(value), 1);
    return value;
  }
  static std::string withConsole1(int value, bool watch = true) {
    return std::string(R"({"watch": )") + (watch ? "true" : "false") +
           R"(, "catalogue": {"consoleData": {"console1": )" + std::to_string(value) + "}}}";
  }
};

TEST_F(SimulatorScenario, IsTheDefaultWithoutAFile) {
  load();
  EXPECT_EQ(init(), 1);
  EXPECT_THAT(folder.logLinesStarting("scenario"), ElementsAre(usedDefault));
}

TEST_F(SimulatorScenario, IsReadBeforeTheFirstCall) {
  loadWith(refuseInit);
  EXPECT_EQ(init(), 0);
  EXPECT_THAT(folder.logLines(),
              ElementsAre(usedFile, R"(call Kernel_Init(executablePath="a.exe"))"));
}

TEST_F(SimulatorScenario, MayHoldCommentsAndAByteOrderMark) {
  loadWith("\xEF\xBB\xBF// why\n{ /* nothing */ }");
  EXPECT_EQ(init(), 1);
  EXPECT_THAT(folder.logLinesStarting("scenario"), ElementsAre(usedFile));
}

TEST_F(SimulatorScenario, FollowsTheFileWhileRunning) {
  load();
  EXPECT_EQ(console1(), 1U);
  folder.writeScenario(withConsole1(41));
  EXPECT_EQ(console1(), 41U);
  folder.writeScenario(withConsole1(42));
  EXPECT_EQ(console1(), 42U);
  folder.removeScenario();
  EXPECT_EQ(console1(), 1U);
  EXPECT_THAT(folder.logLinesStarting("scenario"),
              ElementsAre(usedDefault, usedFile, usedFile, usedDefault));
}

TEST_F(SimulatorScenario, IsReadOnlyByInitWhenNotWatched) {
  loadWith(withConsole1(41, false));
  EXPECT_EQ(console1(), 41U);
  folder.writeScenario(withConsole1(42, false));
  EXPECT_EQ(console1(), 41U);
  EXPECT_EQ(init(), 1);
  EXPECT_EQ(console1(), 42U);
}

TEST_F(SimulatorScenario, GoesOnCountingWhenTheFileSaysTheSame) {
  loadWith(R"({"functions": {"Kernel_Init": [{"refuse": true}, {"result": 5}, {"result": 6}]}})");
  EXPECT_EQ(init(), 0);
  EXPECT_EQ(init(), 5);
  EXPECT_EQ(init(), 6);
}

TEST_F(SimulatorScenario, RecoversWhenAWrongFileIsCorrected) {
  loadWith("{");
  EXPECT_EQ(console1(), 1U);
  folder.writeScenario(withConsole1(5));
  EXPECT_EQ(console1(), 5U);
}

TEST_F(SimulatorScenario, BlocksACall) {
  loadWith(R"({"functions": {"Kernel_GetConsoleData": {"blockMs": 300}}})");
  const ULONGLONG before = GetTickCount64();
  EXPECT_EQ(console1(), 1U);
  EXPECT_GE(GetTickCount64() - before, 250U);  // The clock ticks in steps of up to 16 ms.
}

struct RaisedException {
  DWORD code = 0;
  DWORD parameters = 0;
};
RaisedException raised;

LONG CALLBACK noteAndContinue(EXCEPTION_POINTERS* exception) {
  raised = {exception->ExceptionRecord->ExceptionCode,
            exception->ExceptionRecord->NumberParameters};
  return EXCEPTION_CONTINUE_EXECUTION;
}

TEST_F(SimulatorScenario, RaisesAnExceptionInsideACall) {
  loadWith(R"({"functions": {"Kernel_Init": {"raise": "accessViolation"},
                             "Kernel_GetConsoleData": {"raise": 3758096385}}})");
  void* handler = AddVectoredExceptionHandler(1, &noteAndContinue);
  ASSERT_NE(handler, nullptr);
  EXPECT_EQ(init(), 1);
  EXPECT_EQ(raised.code, 0xC0000005U);
  EXPECT_EQ(raised.parameters, 2U);
  EXPECT_EQ(console1(), 1U);
  EXPECT_EQ(raised.code, 0xE0000001U);
  EXPECT_NE(RemoveVectoredExceptionHandler(handler), 0U);
}

using SimulatorScenarioDeathTest = SimulatorScenario;

TEST_F(SimulatorScenarioDeathTest, EndsTheProcessWithAnAccessViolation) {
  EXPECT_EXIT(
      {
        loadWith(R"({"functions": {"Kernel_Init": {"raise": "accessViolation"}}})");
        (void)init();
      },
      testing::ExitedWithCode(static_cast<int>(0xC0000005U)), "");
}

struct WrongScenario {
  const char* name;
  const char* text;
  const char* message;
};

class SimulatorWrongScenario : public SimulatorScenario,
                               public testing::WithParamInterface<WrongScenario> {};

TEST_P(SimulatorWrongScenario, IsReportedAndFallsBackToTheDefault) {
  loadWith(GetParam().text);
  EXPECT_EQ(init(), 1);
  EXPECT_EQ(console1(), 1U);
  const std::vector<std::string> lines = folder.logLinesStarting("scenario");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_THAT(lines[0],
              StartsWith("scenario: default, because OpenKernel.scenario.json is wrong: "));
  EXPECT_THAT(lines[0], HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    All, SimulatorWrongScenario,
    testing::Values(
        WrongScenario{"Empty", "", "parse error"},
        WrongScenario{"NotJson", "{\"functions\": \n}", "line 2"},
        WrongScenario{"NotUtf8", "{\"log\": \"\xFF\"}", "UTF-8"},
        WrongScenario{"NotAnObject", "[]", "the file: an object is expected"},
        WrongScenario{"UnknownKey", R"({"function": {}})", "function: there is no such key"},
        WrongScenario{"UnknownFunction", R"({"functions": {"Kernel_Intit": {}}})",
                      "functions.Kernel_Intit: no such function has a behaviour"},
        WrongScenario{"FunctionWithoutBehaviour", R"({"functions": {"Kernel_UnInit": {}}})",
                      "functions.Kernel_UnInit: no such function has a behaviour"},
        WrongScenario{"UnknownBehaviour",
                      R"({"functions": {"Kernel_Init": {"refuse": true, "blokMs": 1}}})",
                      "functions.Kernel_Init.blokMs: there is no such key"},
        WrongScenario{"BehaviourOfAnotherFamily",
                      R"({"functions": {"Kernel_Init": {"refuse": true, "completions": []}}})",
                      "functions.Kernel_Init.completions: there is no such key"},
        WrongScenario{"NotABool", R"({"functions": {"Kernel_Init": {"refuse": 1}}})",
                      "functions.Kernel_Init.refuse: true or false is expected"},
        WrongScenario{"ResultTooLarge", R"({"functions": {"Kernel_Init": {"result": 256}}})",
                      "functions.Kernel_Init.result: the number is too large"},
        WrongScenario{"NumberTooLarge",
                      R"({"catalogue": {"consoleData": {"console1": 4294967296}}})",
                      "catalogue.consoleData.console1: the number is too large"},
        WrongScenario{"NumberTooSmall",
                      R"({"catalogue": {"consoleData": {"console1": -2147483649}}})",
                      "catalogue.consoleData.console1: the number is too small"},
        WrongScenario{"NumberHuge",
                      R"({"catalogue": {"consoleData": {"console1": 18446744073709551615}}})",
                      "catalogue.consoleData.console1: the number is too large"},
        WrongScenario{"NotWhole", R"({"catalogue": {"consoleData": {"console1": 1.5}}})",
                      "catalogue.consoleData.console1: a whole number is expected"},
        WrongScenario{
            "StepWithoutState",
            R"({"functions": {"Kernel_StartAccel": {"completions": [1, {"afterMs": 1}]}}})",
            "functions.Kernel_StartAccel.completions[1]: the step has no state"},
        WrongScenario{"TooManyThreads",
                      R"({"functions": {"Kernel_StopAccel": {"completions": [{"threads": 17}]}}})",
                      "functions.Kernel_StopAccel.completions[0].threads: 1 to 16 threads"},
        WrongScenario{"EmptyListOfBehaviours", R"({"functions": {"Kernel_StopAccel": []}})",
                      "functions.Kernel_StopAccel: the list is empty"},
        WrongScenario{"UnknownException", R"({"functions": {"Kernel_Init": {"raise": "crash"}}})",
                      "functions.Kernel_Init.raise: \"accessViolation\" or an exception code"},
        WrongScenario{"GameWithoutId", R"({"catalogue": {"games": [{"text": "a"}]}})",
                      "catalogue.games[0]: the game has no gameId"},
        WrongScenario{"EntryOfThreeNumbers",
                      R"({"catalogue": {"games": [{"gameId": 1, "servers": [
                        {"speedTest": {"entries": [[1, 2, 3]]}}]}]}})",
                      "catalogue.games[0].servers[0].speedTest.entries[0]: an entry is 4 numbers"},
        WrongScenario{"SummaryOfFifteen",
                      R"({"catalogue": {"games": [{"gameId": 1, "servers": [{"speedTest": {
                        "summary": [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15]}}]}]}})",
                      "speedTest.summary[14]: a summary has 14 numbers"},
        WrongScenario{
            "TextTooLong",
            R"({"catalogue": {"accelData": {"text3": {"repeat": "ab", "times": 4294967295}}}})",
            "catalogue.accelData.text3: the text is too long"},
        WrongScenario{"UnknownFormOfText",
                      R"({"catalogue": {"accelData": {"text3": {"repeat": "a", "count": 2}}}})",
                      "catalogue.accelData.text3.count: there is no such key"}),
    [](const testing::TestParamInfo<WrongScenario>& tested) { return tested.param.name; });

}  // namespace
}  // namespace orva_accelerator::test
