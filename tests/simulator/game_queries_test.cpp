// What the simulated library knows about games: its catalogue, and what a scenario puts in its
// place.

#include <gmock/gmock.h>

#include "tests/simulator/simulator_queries.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(SimulatorQueries, GameDataComesFromTheCatalogue) {
  load();
  const auto gameData =
      get<sdk::signature::Kernel_GetGameDataFromGameID>("Kernel_GetGameDataFromGameID");
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
  EXPECT_EQ(get<sdk::signature::Kernel_StartAccel>("Kernel_StartAccel")(&received, 1003, 1, L"all",
                                                                        1, L"", 0, &receiveResult),
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
  EXPECT_EQ(get<sdk::signature::Kernel_StartAccel>("Kernel_StartAccel")(
                &received, 1001, 1, L"east-1", 1, L"", 0, &receiveResult),
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
  const auto function =
      get<sdk::signature::Kernel_GetGameServerDataList>("Kernel_GetGameServerDataList");
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
  const auto function =
      get<sdk::signature::Kernel_GetGameNodeDataList>("Kernel_GetGameNodeDataList");
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
  const auto function =
      get<sdk::signature::Kernel_GetTestSpeedData_V2>("Kernel_GetTestSpeedData_V2");
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
  const auto gameData =
      get<sdk::signature::Kernel_GetGameDataFromGameID>("Kernel_GetGameDataFromGameID");
  EXPECT_EQ(gameData(1001, &game), 0);
  EXPECT_EQ(gameData(7, &game), 1);
  EXPECT_EQ(game.number, 70U);

  std::vector<sdk::ServerRecord> servers(4);
  std::uint32_t count = 4;
  EXPECT_EQ(get<sdk::signature::Kernel_GetGameServerDataList>("Kernel_GetGameServerDataList")(
                7, 1, servers.data(), &count),
            1);
  ASSERT_EQ(count, 3U);
  EXPECT_EQ(textOf(servers[1].serverText), L"second");
  EXPECT_EQ(textOf(servers[2].serverKey), L"K");

  alignas(8) sdk::NodeRecord node{};
  count = 1;
  EXPECT_EQ(get<sdk::signature::Kernel_GetGameNodeDataList>("Kernel_GetGameNodeDataList")(
                7, 1, L"k", &node, &count),
            1);
  EXPECT_EQ(textOf(node.nodeText), std::wstring(256, L'x'));
  EXPECT_EQ(node.nodeValue3, 3U);

  sdk::TestSpeedSummary summary{};
  count = 0;
  EXPECT_EQ(get<sdk::signature::Kernel_GetTestSpeedData_V2>("Kernel_GetTestSpeedData_V2")(
                7, 1, L"k", 0, &summary, nullptr, &count),
            1);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(summary.summary[0], 0xFFFFFFFBU);
  EXPECT_EQ(summary.summary[2], 0U);

  const std::vector<sdk::UsedNodeRecord> used = usedNodes(7);
  ASSERT_EQ(used.size(), 1U);
  EXPECT_EQ(std::uint64_t{used[0].used4}, 18446744073709551615ULL);
}

}  // namespace
}  // namespace orva_accelerator::test
