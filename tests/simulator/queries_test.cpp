// The query functions: the default catalogue, and what a scenario puts in its place.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/simulator/loaded_simulator.h"
#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Up to the first terminator, or the whole array. Records are packed: a local one is aligned, so
// that a reference may be bound to its arrays.
template <typename Unit, std::size_t units>
std::wstring textOf(const Unit (&array)[units]) {
  std::wstring text;
  for (const Unit unit : array) {
    if (unit == 0) break;
    text += static_cast<wchar_t>(unit);
  }
  return text;
}

struct LastAccelAnswer {
  sdk::KernelBool result = 0;
  std::uint32_t areaId = 0;
  wchar_t infoText[256] = {};
  wchar_t serverKey[256] = {};
  std::uint32_t nodeId = 0;
  std::uint8_t infoFlag = 0;
  std::uint32_t infoValue = 0;
};

class SimulatorQueries : public LoadedSimulator {
 protected:
  LastAccelAnswer lastAccel(std::uint32_t gameId) const {
    LastAccelAnswer answer;
    answer.result = get<sdk::KernelGetGameLastAccelInfo>("Kernel_GetGameLastAccelInfo")(
        gameId, &answer.areaId, answer.infoText, 256, answer.serverKey, 256, &answer.nodeId,
        &answer.infoFlag, &answer.infoValue);
    return answer;
  }

  // Both calls of a list function, the way the service makes them. `countResult` is what the
  // counting call returned.
  template <typename Record, typename Function>
  std::vector<Record> fetch(Function function, sdk::KernelBool& countResult) const {
    std::uint32_t count = 0;
    countResult = function(static_cast<Record*>(nullptr), &count);
    if (countResult == 0 || count == 0) return {};
    std::vector<Record> records(count);
    const std::uint32_t capacity = count;
    EXPECT_EQ(function(records.data(), &count), 1);
    EXPECT_LE(count, capacity);
    records.resize(count);
    return records;
  }

  std::vector<sdk::UsedNodeRecord> usedNodes(std::uint32_t gameId) const {
    const auto function = get<sdk::KernelGetGameUsedNodeDataList>("Kernel_GetGameUsedNodeDataList");
    sdk::KernelBool result = 0;
    return fetch<sdk::UsedNodeRecord>(
        [=](sdk::UsedNodeRecord* records, std::uint32_t* count) {
          return function(gameId, records, count);
        },
        result);
  }

  sdk::AccelDataRecord accelData() const {
    sdk::AccelDataRecord record{};
    EXPECT_EQ(get<sdk::KernelGetAccelData>("Kernel_GetAccelData")(&record), 1);
    return record;
  }
};

TEST_F(SimulatorQueries, SetupIsAccepted) {
  load();
  EXPECT_EQ(get<sdk::KernelInit>("Kernel_Init")(L"C:\\Orva\\a.exe"), 1);
  EXPECT_EQ(get<sdk::KernelSetSdkChannelNumber>("Kernel_SetSdkChannelNumber")(2, 3, L"渠道"), 1);
}

TEST_F(SimulatorQueries, AccelDataIsEmptyUntilSomethingIsStarted) {
  load();
  alignas(8) const sdk::AccelDataRecord record = accelData();
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
  EXPECT_TRUE(std::all_of(bytes, bytes + sizeof record, [](std::uint8_t b) { return b == 0; }));
}

TEST_F(SimulatorQueries, AccelDataMovesWhileAcceleratingAndIsEmptyAfterAStop) {
  load();
  ReceivedResults& received = newResults();
  EXPECT_EQ(get<sdk::KernelStartAccel>("Kernel_StartAccel")(&received, 1002, 11, L"EU-Central", 1,
                                                            L"", 3, &receiveResult),
            1);
  ASSERT_TRUE(received.waitFor(4));
  alignas(8) const sdk::AccelDataRecord first = accelData();
  EXPECT_EQ(first.value1, 4U);
  EXPECT_EQ(first.value2, 1002U);
  EXPECT_EQ(std::uint32_t{first.value3}, 11U);
  EXPECT_EQ(first.value4, 202U);
  EXPECT_EQ(std::uint32_t{first.value7}, 3U);
  EXPECT_EQ(first.flag, 1);
  EXPECT_EQ(textOf(first.text1), L"Frostholm Online");
  EXPECT_EQ(textOf(first.text2), L"Europe Central");
  EXPECT_EQ(textOf(first.text3), L"Frankfurt 01");
  EXPECT_EQ(textOf(first.text4), L"自动");
  EXPECT_EQ(textOf(first.text5), L"192.168.1.1");
  const std::uint64_t bytes = first.value8;
  EXPECT_TRUE(waitUntil([&] { return accelData().value8 > bytes; }));
  EXPECT_TRUE(waitUntil([&] { return accelData().value5 != first.value5; }));
  ReceivedCodes& stopped = newCodes();
  EXPECT_EQ(get<sdk::KernelStopAccel>("Kernel_StopAccel")(&stopped, &receiveCode), 1);
  EXPECT_EQ(accelData().value1, 0U);
  EXPECT_EQ(accelData().flag, 0);
}

TEST_F(SimulatorQueries, AccelDataFollowsTheScenario) {
  loadWith(R"({"catalogue": {"accelData": {
    "value1": 1, "value2": 2, "value3": 3, "value4": 4, "value5": 5, "value6": 6, "value7": 7,
    "value8": 4294967297, "value9": 9, "value10": -1, "flag": 255,
    "text1": "一", "text2": "", "text3": {"repeat": "中", "times": 255}, "text4": "四",
    "text5": {"repeat": "长", "times": 254}}}})");
  alignas(8) const sdk::AccelDataRecord record = accelData();
  EXPECT_EQ(record.value1, 1U);
  EXPECT_EQ(record.value2, 2U);
  EXPECT_EQ(std::uint32_t{record.value3}, 3U);
  EXPECT_EQ(record.value4, 4U);
  EXPECT_EQ(std::uint32_t{record.value5}, 5U);
  EXPECT_EQ(std::uint32_t{record.value6}, 6U);
  EXPECT_EQ(std::uint32_t{record.value7}, 7U);
  EXPECT_EQ(std::uint64_t{record.value8}, 4294967297U);
  EXPECT_EQ(std::uint32_t{record.value9}, 9U);
  EXPECT_EQ(std::uint32_t{record.value10}, 0xFFFFFFFFU);
  EXPECT_EQ(record.flag, 255);
  EXPECT_EQ(textOf(record.text1), L"一");
  EXPECT_EQ(textOf(record.text2), L"");
  EXPECT_EQ(textOf(record.text3), std::wstring(255, L'中'));  // The array is full: no terminator.
  EXPECT_EQ(textOf(record.text4), L"四");
  EXPECT_EQ(textOf(record.text5), std::wstring(254, L'长'));
}

TEST_F(SimulatorQueries, RefusedAccelDataLeavesDataBehind) {
  loadWith(R"({"functions": {"Kernel_GetAccelData": {"refuse": true}},
               "catalogue": {"accelData": {"value1": 77}}})");
  alignas(8) sdk::AccelDataRecord record{};
  EXPECT_EQ(get<sdk::KernelGetAccelData>("Kernel_GetAccelData")(&record), 0);
  EXPECT_EQ(record.value1, 77U);
}

TEST_F(SimulatorQueries, ConsoleDataIsFixedByDefault) {
  load();
  sdk::ConsoleDataRecord record{};
  EXPECT_EQ(get<sdk::KernelGetConsoleData>("Kernel_GetConsoleData")(&record), 1);
  EXPECT_EQ(record.console1, 1U);
  EXPECT_EQ(record.console2, 2U);
  EXPECT_EQ(record.console3, 0xC0A80117U);
  EXPECT_EQ(record.console4, 7850U);
  EXPECT_EQ(record.console5, 3U);
  EXPECT_EQ(record.consoleFlag, 1);
}

TEST_F(SimulatorQueries, ConsoleDataFollowsTheScenario) {
  loadWith(R"({"catalogue": {"consoleData": {"console2": 22, "consoleFlag": 255}}})");
  sdk::ConsoleDataRecord record{};
  EXPECT_EQ(get<sdk::KernelGetConsoleData>("Kernel_GetConsoleData")(&record), 1);
  EXPECT_EQ(record.console1, 1U);
  EXPECT_EQ(record.console2, 22U);
  EXPECT_EQ(record.consoleFlag, 255);
}

TEST_F(SimulatorQueries, GameDataComesFromTheCatalogue) {
  load();
  const auto gameData = get<sdk::KernelGetGameDataFromGameID>("Kernel_GetGameDataFromGameID");
  alignas(8) sdk::GameDataRecord record{};
  EXPECT_EQ(gameData(1003, &record), 1);
  EXPECT_EQ(record.number, 13U);
  EXPECT_EQ(textOf(record.gameText), L"云端卡丁车 Cloud Kart");
  EXPECT_EQ(gameData(5, &record), 0);
}

TEST_F(SimulatorQueries, LastAccelComesFromTheCatalogue) {
  load();
  const LastAccelAnswer answer = lastAccel(1001);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.areaId, 1U);
  EXPECT_EQ(textOf(answer.infoText), L"华东一区 · 上次 38 ms");
  EXPECT_EQ(textOf(answer.serverKey), L"east-1");
  EXPECT_EQ(answer.nodeId, 101U);
  EXPECT_EQ(answer.infoFlag, 1);
  EXPECT_EQ(answer.infoValue, 38U);
  EXPECT_EQ(lastAccel(1003).result, 0);
  EXPECT_EQ(textOf(lastAccel(1004).serverKey), L"");
  EXPECT_EQ(lastAccel(1004).result, 1);
  EXPECT_EQ(lastAccel(5).result, 0);
}

TEST_F(SimulatorQueries, LastAccelRemembersWhatWasAccelerated) {
  loadWith(R"({"functions": {
    "Kernel_StartAccel": {"completions": [{"inline": true, "state": 4}]}}})");
  ReceivedResults& received = newResults();
  EXPECT_EQ(get<sdk::KernelStartAccel>("Kernel_StartAccel")(&received, 1003, 1, L"all", 1, L"", 0,
                                                            &receiveResult),
            1);
  const LastAccelAnswer answer = lastAccel(1003);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.areaId, 1U);
  EXPECT_EQ(textOf(answer.infoText), L"全区全服 · 29 ms");
  EXPECT_EQ(textOf(answer.serverKey), L"all");
  EXPECT_EQ(answer.nodeId, 301U);
}

TEST_F(SimulatorQueries, LastAccelOfTheScenarioStays) {
  loadWith(R"({"functions": {"Kernel_StartAccel": {"completions": [{"inline": true, "state": 4}]}},
    "catalogue": {"games": [{"gameId": 1001, "lastAccel": {
      "areaId": 9, "infoText": {"repeat": "长", "times": 300}, "serverKey": "K", "nodeId": -1,
      "infoFlag": 255, "infoValue": 4}},
      {"gameId": 1002, "lastAccel": null}]}})");
  ReceivedResults& received = newResults();
  EXPECT_EQ(get<sdk::KernelStartAccel>("Kernel_StartAccel")(&received, 1001, 1, L"east-1", 1, L"",
                                                            0, &receiveResult),
            1);
  const LastAccelAnswer answer = lastAccel(1001);
  EXPECT_EQ(answer.areaId, 9U);
  EXPECT_EQ(textOf(answer.infoText), std::wstring(256, L'长'));  // Full: no terminator.
  EXPECT_EQ(textOf(answer.serverKey), L"K");
  EXPECT_EQ(answer.nodeId, 0xFFFFFFFFU);
  EXPECT_EQ(answer.infoFlag, 255);
  EXPECT_EQ(lastAccel(1002).result, 0);
}

TEST_F(SimulatorQueries, ServersOfAnAreaAreListed) {
  load();
  const auto function = get<sdk::KernelGetGameServerDataList>("Kernel_GetGameServerDataList");
  const auto servers = [&](std::uint32_t game, std::uint32_t area, sdk::KernelBool& result) {
    return fetch<sdk::ServerRecord>(
        [&](sdk::ServerRecord* records, std::uint32_t* count) {
          return function(game, area, records, count);
        },
        result);
  };
  sdk::KernelBool result = 0;
  const std::vector<sdk::ServerRecord> east = servers(1001, 1, result);
  ASSERT_EQ(east.size(), 2U);
  EXPECT_EQ(textOf(east[0].serverKey), L"east-1");
  EXPECT_EQ(textOf(east[0].serverText), L"华东一区");
  EXPECT_EQ(textOf(east[1].serverKey), L"east-2");
  EXPECT_THAT(servers(1001, 99, result), IsEmpty());
  EXPECT_EQ(result, 1);
  EXPECT_THAT(servers(5, 1, result), IsEmpty());
  EXPECT_EQ(result, 0);
}

TEST_F(SimulatorQueries, NodesOfAServerAreListed) {
  load();
  const auto function = get<sdk::KernelGetGameNodeDataList>("Kernel_GetGameNodeDataList");
  const auto nodes = [&](const wchar_t* key, sdk::KernelBool& result) {
    return fetch<sdk::NodeRecord>(
        [&](sdk::NodeRecord* records, std::uint32_t* count) {
          return function(1002, 11, key, records, count);
        },
        result);
  };
  sdk::KernelBool result = 0;
  const std::vector<sdk::NodeRecord> central = nodes(L"EU-Central", result);
  ASSERT_EQ(central.size(), 2U);
  EXPECT_EQ(central[1].nodeId, 203U);
  EXPECT_EQ(textOf(central[1].nodeText), L"Zürich 02");
  EXPECT_EQ(central[1].nodeValue1, 190U);
  EXPECT_EQ(central[1].nodeValue2, 9U);
  EXPECT_EQ(central[1].nodeValue3, 1U);
  EXPECT_THAT(nodes(L"eu-central", result), IsEmpty());
  EXPECT_EQ(result, 0);
}

TEST_F(SimulatorQueries, UsedNodesAreListed) {
  load();
  const std::vector<sdk::UsedNodeRecord> nodes = usedNodes(1001);
  ASSERT_EQ(nodes.size(), 2U);
  EXPECT_EQ(nodes[1].used1, 111U);
  EXPECT_EQ(nodes[1].used2, 2U);
  EXPECT_EQ(textOf(nodes[1].usedText1), L"广州 电信 01");
  EXPECT_EQ(nodes[1].used3, 33U);
  EXPECT_EQ(textOf(nodes[1].usedText2), L"华南一区");
  EXPECT_EQ(std::uint64_t{nodes[1].used4}, 1767139200000U);
  EXPECT_THAT(usedNodes(1003), IsEmpty());
}

TEST_F(SimulatorQueries, SpeedTestHasASummaryAndAnEntryANode) {
  load();
  const auto function = get<sdk::KernelGetTestSpeedDataV2>("Kernel_GetTestSpeedData_V2");
  sdk::TestSpeedSummary summary{};
  sdk::KernelBool result = 0;
  const std::vector<sdk::TestSpeedEntry> entries = fetch<sdk::TestSpeedEntry>(
      [&](sdk::TestSpeedEntry* records, std::uint32_t* count) {
        return function(1001, 1, L"east-1", 0, &summary, records, count);
      },
      result);
  EXPECT_THAT(summary.summary,
              ElementsAre(3U, 101U, 38U, 42U, 47U, 9U, 0U, 100U, 3U, 0U, 114U, 126U, 141U, 64U));
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_THAT(entries[0].words, ElementsAre(101U, 38U, 1U, 1U));
  std::uint32_t count = 0;
  EXPECT_EQ(function(1001, 1, L"nowhere", 0, &summary, nullptr, &count), 0);
}

TEST_F(SimulatorQueries, CatalogueIsReplacedByTheScenario) {
  loadWith(R"({"catalogue": {"replace": true, "games": [{"gameId": 7, "number": 70, "text": "测试",
    "servers": [
      {"areaId": 1, "key": "k", "text": "first",
       "nodes": [{"nodeId": 5, "text": {"repeat": "x", "times": 256}, "value1": 1, "value2": 2,
                  "value3": 3}],
       "speedTest": {"summary": [-5, 2], "entries": [[1, 2, 3, 4], [5, 6, 7, 8]]}},
      {"areaId": 1, "key": "k", "text": "second"}, {"areaId": 1, "key": "K"}],
    "usedNodes": [{"used1": 1, "used2": 2, "text1": "a", "used3": 3, "text2": "",
                   "used4": 18446744073709551615}]}]}})");
  alignas(8) sdk::GameDataRecord game{};
  const auto gameData = get<sdk::KernelGetGameDataFromGameID>("Kernel_GetGameDataFromGameID");
  EXPECT_EQ(gameData(1001, &game), 0);
  EXPECT_EQ(gameData(7, &game), 1);
  EXPECT_EQ(game.number, 70U);

  std::vector<sdk::ServerRecord> servers(4);
  std::uint32_t count = 4;
  EXPECT_EQ(get<sdk::KernelGetGameServerDataList>("Kernel_GetGameServerDataList")(
                7, 1, servers.data(), &count),
            1);
  ASSERT_EQ(count, 3U);
  EXPECT_EQ(textOf(servers[1].serverText), L"second");
  EXPECT_EQ(textOf(servers[2].serverKey), L"K");

  alignas(8) sdk::NodeRecord node{};
  count = 1;
  EXPECT_EQ(
      get<sdk::KernelGetGameNodeDataList>("Kernel_GetGameNodeDataList")(7, 1, L"k", &node, &count),
      1);
  EXPECT_EQ(textOf(node.nodeText), std::wstring(256, L'x'));
  EXPECT_EQ(node.nodeValue3, 3U);

  sdk::TestSpeedSummary summary{};
  count = 0;
  EXPECT_EQ(get<sdk::KernelGetTestSpeedDataV2>("Kernel_GetTestSpeedData_V2")(
                7, 1, L"k", 0, &summary, nullptr, &count),
            1);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(summary.summary[0], 0xFFFFFFFBU);
  EXPECT_EQ(summary.summary[2], 0U);

  const std::vector<sdk::UsedNodeRecord> used = usedNodes(7);
  ASSERT_EQ(used.size(), 1U);
  EXPECT_EQ(std::uint64_t{used[0].used4}, 18446744073709551615ULL);
}

class SimulatorLists : public SimulatorQueries {
 protected:
  sdk::KernelBool usedNodesCall(sdk::UsedNodeRecord* records, std::uint32_t& count) const {
    return get<sdk::KernelGetGameUsedNodeDataList>("Kernel_GetGameUsedNodeDataList")(1001, records,
                                                                                     &count);
  }
};

TEST_F(SimulatorLists, ReportAnyCountWhenCounting) {
  loadWith(R"({"functions": {"Kernel_GetGameUsedNodeDataList": [
    {"countingCall": {"count": 4294967295}}, {"countingCall": {"count": 0}},
    {"countingCall": {"refuse": true}}]}})");
  std::uint32_t count = 0;
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 0xFFFFFFFFU);
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(usedNodesCall(nullptr, count), 0);
  EXPECT_EQ(count, 2U);
}

TEST_F(SimulatorLists, ShrinkBetweenTheCalls) {
  loadWith(R"({"functions": {"Kernel_GetGameUsedNodeDataList": {"fillingCall": {"count": 1}}}})");
  std::uint32_t count = 0;
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 2U);
  std::vector<sdk::UsedNodeRecord> records(2);
  EXPECT_EQ(usedNodesCall(records.data(), count), 1);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(records[0].used1, 101U);
  EXPECT_EQ(records[1].used1, 0U);
}

TEST_F(SimulatorLists, GrowBetweenTheCallsWithoutWritingBeyondTheArray) {
  loadWith(R"({"functions": {"Kernel_GetGameUsedNodeDataList": {
    "countingCall": {"count": 1}, "fillingCall": {"count": 500}}}})");
  std::uint32_t count = 0;
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 1U);
  std::vector<sdk::UsedNodeRecord> records(2);
  EXPECT_EQ(usedNodesCall(records.data(), count), 1);
  EXPECT_EQ(count, 500U);
  EXPECT_EQ(records[0].used1, 101U);
  EXPECT_EQ(records[1].used1, 0U);
}

TEST_F(SimulatorLists, RefuseTheFillingCallOnly) {
  loadWith(
      R"({"functions": {"Kernel_GetGameUsedNodeDataList": {"fillingCall": {"refuse": true}}}})");
  std::uint32_t count = 0;
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  std::vector<sdk::UsedNodeRecord> records(count);
  EXPECT_EQ(usedNodesCall(records.data(), count), 0);
}

TEST_F(SimulatorLists, KeepOneBehaviourForBothCalls) {
  loadWith(R"({"functions": {"Kernel_GetGameUsedNodeDataList": [
    {"fillingCall": {"count": 1}}, {}]}})");
  std::uint32_t count = 0;
  std::vector<sdk::UsedNodeRecord> records(2);
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(usedNodesCall(records.data(), count), 1);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(usedNodesCall(records.data(), count), 1);
  EXPECT_EQ(count, 2U);
}

}  // namespace
}  // namespace orva_accelerator::test
