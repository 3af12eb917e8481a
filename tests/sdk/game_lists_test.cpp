#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sdk/record_reading.h"
#include "tests/support/initialised_kernel.h"
#include "tests/support/scripted_game.h"

namespace orva_accelerator::sdk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class GameLists : public testing::Test {
 protected:
  GameLists() {
    test::answerForGame(kernel, game);
    game->servers.records = {test::serverRecord(L"asia-1", L"Asia 1"),
                             test::serverRecord(L"上海电信", L"")};
    game->nodes.records = {test::nodeRecord(11, L"Node 11", 38, 3, 5)};
    game->usedNodes.records = {
        test::usedNodeRecord(11, 2, L"asia-1", 38, L"Node 11", 0x19A'2B3C'4D5E),
        test::usedNodeRecord(21, 3, L"", 41, L"", 7)};
  }

  test::InitialisedKernel kernel;
  const AccelSdk& accelSdk = AccelSdk::Instance();
  const std::shared_ptr<test::ScriptedGame> game = std::make_shared<test::ScriptedGame>();
};

TEST_F(GameLists, HandOutServers) {
  const std::vector<ServerEntry> servers = accelSdk.GetGameServerDataList(1001, 2);
  ASSERT_THAT(servers, SizeIs(2));
  EXPECT_EQ(textOf(servers[0].serverKey), L"asia-1");
  EXPECT_EQ(textOf(servers[0].serverText), L"Asia 1");
  EXPECT_EQ(textOf(servers[1].serverKey), L"上海电信");
  EXPECT_EQ(textOf(servers[1].serverText), L"");
}

TEST_F(GameLists, HandOutNodes) {
  const std::vector<NodeEntry> nodes = accelSdk.GetGameNodeDataList(1001, 2, L"asia-1");
  ASSERT_THAT(nodes, SizeIs(1));
  EXPECT_EQ(nodes[0].nodeId, 11U);
  EXPECT_EQ(textOf(nodes[0].nodeText), L"Node 11");
  EXPECT_EQ(nodes[0].nodeValue1, 38U);
  EXPECT_EQ(nodes[0].nodeValue2, 3U);
  EXPECT_EQ(nodes[0].nodeValue3, 5U);
}

TEST_F(GameLists, HandOutUsedNodes) {
  const std::vector<UsedNodeInfo> nodes = accelSdk.GetGameUsedNodeDataList(1001);
  ASSERT_THAT(nodes, SizeIs(2));
  EXPECT_EQ(nodes[0].used1, 11U);
  EXPECT_EQ(nodes[0].used2, 2U);
  EXPECT_EQ(textOf(nodes[0].usedText1), L"asia-1");
  EXPECT_EQ(nodes[0].used3, 38U);
  EXPECT_EQ(textOf(nodes[0].usedText2), L"Node 11");
  // A copy: a packed record's 64 bits need not lie where a reference to them may.
  EXPECT_EQ(std::uint64_t{nodes[0].used4}, 0x19A'2B3C'4D5EU);
  EXPECT_EQ(nodes[1].used1, 21U);
  EXPECT_EQ(textOf(nodes[1].usedText1), L"");
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_GetGameUsedNodeDataList(1001, null, 0)",
                                          "Kernel_GetGameUsedNodeDataList(1001, array, 2)"));
}

TEST_F(GameLists, EndUnterminatedTextsWithTheirArrays) {
  const std::wstring longest(256, L'\u6E38');
  const std::wstring expected(256, L'\u6E38');
  game->servers.records = {test::serverRecord(longest, longest)};
  game->nodes.records = {test::nodeRecord(11, longest, 0xFFFFFFFF, 0xFFFFFFFF)};
  game->usedNodes.records = {test::usedNodeRecord(1, 2, longest, 0xFFFFFFFF, longest, ~0ULL)};
  EXPECT_EQ(textOf(accelSdk.GetGameServerDataList(1001, 2).at(0).serverKey), expected);
  EXPECT_EQ(textOf(accelSdk.GetGameServerDataList(1001, 2).at(0).serverText), expected);
  EXPECT_EQ(textOf(accelSdk.GetGameNodeDataList(1001, 2, L"").at(0).nodeText), expected);
  EXPECT_EQ(textOf(accelSdk.GetGameUsedNodeDataList(1001).at(0).usedText1), expected);
  EXPECT_EQ(textOf(accelSdk.GetGameUsedNodeDataList(1001).at(0).usedText2), expected);
}

TEST_F(GameLists, AreEmptyWithoutTheirFunctions) {
  kernel.forget(KernelFunction::Kernel_GetGameServerDataList);
  kernel.forget(KernelFunction::Kernel_GetGameNodeDataList);
  kernel.forget(KernelFunction::Kernel_GetGameUsedNodeDataList);
  EXPECT_THAT(accelSdk.GetGameServerDataList(1001, 2), IsEmpty());
  EXPECT_THAT(accelSdk.GetGameNodeDataList(1001, 2, L"asia-1"), IsEmpty());
  EXPECT_THAT(accelSdk.GetGameUsedNodeDataList(1001), IsEmpty());
}

TEST_F(GameLists, KnowAGamesNumberAndText) {
  const std::optional<GameDataRecord> data = accelSdk.GetGameDataFromGameID(1001);
  ASSERT_TRUE(data);
  EXPECT_EQ(data->number, 77U);
  EXPECT_EQ(textOf(data->gameText), L"Star Arena");
  EXPECT_FALSE(accelSdk.GetGameDataFromGameID(1002));
}

}  // namespace
}  // namespace orva_accelerator::sdk
