// What the call log says, line for line.
#include <gmock/gmock.h>

#include <array>
#include <thread>

#include "tests/simulator/loaded_simulator.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

class SimulatorLog : public LoadedSimulator {
 protected:
  sdk::KernelBool init(const wchar_t* path) const {
    return get<sdk::signature::Kernel_Init>("Kernel_Init")(path);
  }
};

TEST_F(SimulatorLog, HasTheArgumentsOfSetupAndLogin) {
  load();
  EXPECT_EQ(init(L"C:\\Orva\\服务.exe"), 1);
  EXPECT_EQ(get<sdk::signature::Kernel_SetSdkChannelNumber>("Kernel_SetSdkChannelNumber")(
                4294967295, 0, L""),
            1);
  EXPECT_EQ(get<sdk::signature::Kernel_UserLoginFromAccount>("Kernel_UserLoginFromAccount")(
                nullptr, L"玩家 \"一\"", nullptr, nullptr),
            1);
  EXPECT_THAT(
      folder.logLines(),
      ElementsAre("scenario: default",
                  "call Kernel_Init(executablePath=\"C:\\\\Orva\\\\服务.exe\")",
                  "call Kernel_SetSdkChannelNumber(channelId=4294967295, channelNumber=0, "
                  "channelName=\"\")",
                  "call Kernel_UserLoginFromAccount(context=null, account=\"玩家 \\\"一\\\"\", "
                  "credential=null, completion=null)"));
}

TEST_F(SimulatorLog, EscapesWhatALineCannotHold) {
  load();
  const wchar_t text[] = {L'a', L'\n', 0xD83D, 0xDE00, 0xD83D, L'z', 0xDE00, 0};
  EXPECT_EQ(init(text), 1);
  EXPECT_EQ(folder.logLines().back(),
            "call Kernel_Init(executablePath=\"a\\u000A\xF0\x9F\x98\x80\\uD83Dz\\uDE00\")");
}

TEST_F(SimulatorLog, HasTheArgumentsOfStartsAndStops) {
  loadWith(R"({"functions": {"Kernel_StartAccel": {"completions": [{"inline": true, "state": 4}]},
    "Kernel_StartAccelEx": {"completions": [{"inline": true, "state": 5, "text1": null}]},
    "Kernel_StopAccel": {"completions": [{"inline": true, "code": -2}]}}})");
  ReceivedResults& results = newResults();
  ReceivedCodes& codes = newCodes();
  EXPECT_EQ(get<sdk::signature::Kernel_StartAccel>("Kernel_StartAccel")(&results, 1004, 2, L"键", 0,
                                                                        L"1;-2", 3, &receiveResult),
            1);
  EXPECT_EQ(get<sdk::signature::Kernel_StartAccelEx>("Kernel_StartAccelEx")(
                &results, 1, 2, nullptr, 255, L"", 3, 4, &receiveResult),
            1);
  EXPECT_EQ(get<sdk::signature::Kernel_StopAccel>("Kernel_StopAccel")(&codes, &receiveCode), 1);
  EXPECT_THAT(
      folder.logLines(),
      ElementsAre(
          "scenario: OpenKernel.scenario.json",
          "call Kernel_StartAccel(context=pointer, startArg1=1004, startArg2=2, startText=\"键\", "
          "isAuto=0, nodeList=\"1;-2\", startArg3=3, completion=pointer)",
          "completion Kernel_StartAccel(value1=1004, value2=2, text1=\"Lantern Quest\", value3=1, "
          "value4=100, state=4, value5=50, text2=\"1;-2\")",
          "call Kernel_StartAccelEx(context=pointer, startArg1=1, startArg2=2, startText=null, "
          "isAuto=255, nodeList=\"\", startArg3=3, startArg4=4, completion=pointer)",
          "completion Kernel_StartAccelEx(value1=1, value2=2, text1=null, value3=0, value4=100, "
          "state=5, value5=50, text2=\"自动 Auto\")",
          "call Kernel_StopAccel(context=pointer, completion=pointer)",
          "completion Kernel_StopAccel(code=-2)"));
}

TEST_F(SimulatorLog, HasTheArgumentsOfQueries) {
  load();
  std::uint32_t count = 7;
  sdk::TestSpeedSummary summary{};
  std::array<sdk::ServerRecord, 1> servers{};
  (void)get<sdk::signature::Kernel_GetAccelData>("Kernel_GetAccelData")(nullptr);
  (void)get<sdk::signature::Kernel_GetConsoleData>("Kernel_GetConsoleData")(nullptr);
  (void)get<sdk::signature::Kernel_GetGameDataFromGameID>("Kernel_GetGameDataFromGameID")(1,
                                                                                          nullptr);
  (void)get<sdk::signature::Kernel_GetGameLastAccelInfo>("Kernel_GetGameLastAccelInfo")(
      2, nullptr, nullptr, 256, nullptr, 255, nullptr, nullptr, nullptr);
  (void)get<sdk::signature::Kernel_GetGameServerDataList>("Kernel_GetGameServerDataList")(
      3, 4, servers.data(), &count);
  (void)get<sdk::signature::Kernel_GetGameNodeDataList>("Kernel_GetGameNodeDataList")(
      5, 6, L"钥", nullptr, nullptr);
  (void)get<sdk::signature::Kernel_GetGameUsedNodeDataList>("Kernel_GetGameUsedNodeDataList")(
      7, nullptr, &count);
  (void)get<sdk::signature::Kernel_GetTestSpeedData_V2>("Kernel_GetTestSpeedData_V2")(
      8, 9, L"k", 10, &summary, nullptr, &count);
  EXPECT_THAT(
      folder.logLinesStarting("call"),
      ElementsAre("call Kernel_GetAccelData(record=null)",
                  "call Kernel_GetConsoleData(record=null)",
                  "call Kernel_GetGameDataFromGameID(gameId=1, record=null)",
                  "call Kernel_GetGameLastAccelInfo(gameId=2, infoTextCapacity=256, "
                  "serverKeyCapacity=255)",
                  "call Kernel_GetGameServerDataList(gameId=3, areaId=4, records=pointer, count=7)",
                  "call Kernel_GetGameNodeDataList(gameId=5, areaId=6, serverKey=\"钥\", "
                  "records=null, count=null)",
                  "call Kernel_GetGameUsedNodeDataList(gameId=7, records=null, count=7)",
                  "call Kernel_GetTestSpeedData_V2(gameId=8, areaId=9, serverKey=\"k\", "
                  "testOption=10, summary=pointer, records=null, count=7)"));
}

TEST_F(SimulatorLog, IsOffWhenTheScenarioSaysSo) {
  loadWith(R"({"log": {"enabled": false}})");
  EXPECT_EQ(init(L"a"), 1);
  EXPECT_FALSE(std::filesystem::exists(folder.logFile()));
}

TEST_F(SimulatorLog, CanBeSwitchedOnWhileRunning) {
  loadWith(R"({"log": {"enabled": false}})");
  EXPECT_EQ(init(L"a"), 1);
  folder.writeScenario("{}");
  EXPECT_EQ(init(L"b"), 1);
  EXPECT_THAT(folder.logLines(), ElementsAre("scenario: OpenKernel.scenario.json",
                                             "call Kernel_Init(executablePath=\"b\")"));
}

TEST_F(SimulatorLog, HasTimesAndThreadsOnDemand) {
  loadWith(R"({"log": {"timestamps": true}})");
  EXPECT_EQ(init(L"a"), 1);
  EXPECT_THAT(folder.logLines().back(),
              MatchesRegex("\\d+\\.\\d+ \\d+ call Kernel_Init\\(executablePath=\"a\"\\)"));
}

TEST_F(SimulatorLog, BeginsAnewWhenTheLibraryIsLoaded) {
  load();
  EXPECT_EQ(init(L"first"), 1);
  unload();
  load();
  EXPECT_EQ(init(L"second"), 1);
  EXPECT_THAT(folder.logLinesStarting("call"),
              ElementsAre("call Kernel_Init(executablePath=\"second\")"));
}

TEST_F(SimulatorLog, KeepsEarlierLinesWhenTheScenarioSaysSo) {
  loadWith(R"({"log": {"append": true}})");
  EXPECT_EQ(init(L"first"), 1);
  unload();
  load();
  EXPECT_EQ(init(L"second"), 1);
  EXPECT_THAT(folder.logLinesStarting("call"),
              ElementsAre("call Kernel_Init(executablePath=\"first\")",
                          "call Kernel_Init(executablePath=\"second\")"));
}

TEST_F(SimulatorLog, MissingDoesNotMakeCallsFail) {
  // A folder in the place of the file: it cannot be written, whoever runs the test.
  ASSERT_TRUE(std::filesystem::create_directory(folder.logFile()));
  load();
  EXPECT_EQ(init(L"a"), 1);
}

TEST_F(SimulatorLog, HasEveryCallOfManyThreadsWhole) {
  load();
  constexpr int threadCount = 8;
  constexpr int callsEach = 50;
  const auto initFunction = get<sdk::signature::Kernel_Init>("Kernel_Init");
  const auto used =
      get<sdk::signature::Kernel_GetGameUsedNodeDataList>("Kernel_GetGameUsedNodeDataList");
  const auto login =
      get<sdk::signature::Kernel_UserLoginFromAccount>("Kernel_UserLoginFromAccount");
  const auto start = get<sdk::signature::Kernel_StartAccel>("Kernel_StartAccel");
  const auto stop = get<sdk::signature::Kernel_StopAccel>("Kernel_StopAccel");
  const auto data = get<sdk::signature::Kernel_GetAccelData>("Kernel_GetAccelData");
  ReceivedCodes& codes = newCodes();
  ReceivedResults& results = newResults();
  std::vector<std::thread> threads;
  for (int t = 0; t < threadCount; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < callsEach; ++i) {
        std::uint32_t count = 0;
        sdk::AccelDataRecord record{};
        (void)initFunction(L"C:\\并发\\a.exe");
        (void)login(&codes, L"a", L"b", &receiveCode);
        (void)start(&results, 1001, 1, L"east-1", 1, L"", 0, &receiveResult);
        (void)data(&record);
        (void)used(1001, nullptr, &count);
        (void)stop(&codes, &receiveCode);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(codes.waitFor(2 * threadCount * callsEach));
  constexpr std::size_t calls = threadCount * callsEach;
  EXPECT_EQ(folder.logLinesStarting("call ").size(), 6 * calls);
  const std::string initLine = "call Kernel_Init(executablePath=\"C:\\\\并发\\\\a.exe\")";
  EXPECT_EQ(folder.logLinesStarting(initLine).size(), calls);
  EXPECT_EQ(folder.logLinesStarting("completion Kernel_UserLoginFromAccount(code=0)").size(),
            calls);
  EXPECT_EQ(folder.logLinesStarting("completion Kernel_StopAccel(code=0)").size(), calls);
  EXPECT_EQ(folder.logLinesStarting("problem").size(), 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
