#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/initialised_kernel.h"
#include "tests/support/scripted_game.h"

namespace orva_accelerator::sdk {
namespace {

using test::nodeRecord;
using test::serverRecord;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

class GameQueries : public testing::Test {
 protected:
  GameQueries() { test::answerForGame(kernel, game); }

  test::InitialisedKernel kernel;
  const AccelSdk& accelSdk = AccelSdk::Instance();
  const std::shared_ptr<test::ScriptedGame> game = std::make_shared<test::ScriptedGame>();
};

using LastAccelQuery = GameQueries;

TEST_F(LastAccelQuery, HandsOutAllSixOutputs) {
  const std::optional<LastAccelInfo> last = accelSdk.GetGameLastAccelInfo(1001);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->areaId, 2U);
  EXPECT_EQ(last->infoText, L"mode-2");
  EXPECT_EQ(last->serverKey, L"asia-1");
  EXPECT_EQ(last->nodeId, 11U);
  EXPECT_TRUE(last->infoFlag);
  EXPECT_EQ(last->infoValue, 86U);
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_GetGameLastAccelInfo(1001, 256, 256)"));
}

TEST_F(LastAccelQuery, CutsUnterminatedTextsTo255Units) {
  game->infoText = std::wstring(256, L'i');
  game->serverKey = std::wstring(256, L'\u6E38');
  const std::optional<LastAccelInfo> last = accelSdk.GetGameLastAccelInfo(1001);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->infoText, std::wstring(255, L'i'));
  EXPECT_EQ(last->serverKey, std::wstring(255, L'\u6E38'));
}

TEST_F(LastAccelQuery, EndsTextsAtTheirFirstNul) {
  game->infoText = std::wstring(L"ab\0cd", 5);
  game->serverKey = std::wstring(L"\0cd", 3);
  const std::optional<LastAccelInfo> last = accelSdk.GetGameLastAccelInfo(1001);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->infoText, L"ab");
  EXPECT_EQ(last->serverKey, L"");
}

TEST_F(LastAccelQuery, TakesAnyFlagButZeroAsSet) {
  game->infoFlag = 0x80;
  EXPECT_TRUE(accelSdk.GetGameLastAccelInfo(1001)->infoFlag);
  game->infoFlag = 0;
  EXPECT_FALSE(accelSdk.GetGameLastAccelInfo(1001)->infoFlag);
}

using GameAccelQuery = GameQueries;

TEST_F(GameAccelQuery, PutsFourAnswersTogether) {
  const std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->gameId, 1001U);
  EXPECT_EQ(info->gameText, L"Star Arena");
  EXPECT_EQ(info->areaId, 2U);
  EXPECT_EQ(info->infoText, L"mode-2");
  EXPECT_EQ(info->serverKey, L"asia-1");
  EXPECT_EQ(info->serverText, L"Asia 1");
  EXPECT_EQ(info->nodeId, 11U);
  EXPECT_EQ(info->nodeText, L"Node 11");
  EXPECT_TRUE(info->infoFlag);
  EXPECT_EQ(info->infoValue, 86U);
  EXPECT_EQ(info->reservedWord, 0U);
  EXPECT_EQ(info->reservedLong, 0U);
  EXPECT_EQ(info->nodeValue1, 38U);
  EXPECT_EQ(info->nodeValue2, 3U);
  EXPECT_THAT(kernel.calls(),
              ElementsAre("Kernel_GetGameLastAccelInfo(1001, 256, 256)",
                          "Kernel_GetGameDataFromGameID(1001)",
                          "Kernel_GetGameServerDataList(1001, 2, null, 0)",
                          "Kernel_GetGameServerDataList(1001, 2, array, 1)",
                          "Kernel_GetGameNodeDataList(1001, 2, \"asia-1\", null, 0)",
                          "Kernel_GetGameNodeDataList(1001, 2, \"asia-1\", array, 1)"));
}

TEST_F(GameAccelQuery, FailsWhenTheLastAccelerationIsUnknown) {
  game->knowsLast = false;
  EXPECT_FALSE(accelSdk.GetGameAccelInfo(1001));
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_GetGameLastAccelInfo(1001, 256, 256)"));
}

TEST_F(GameAccelQuery, SucceedsWithoutTheGamesText) {
  game->knowsText = false;
  std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->gameText, L"");
  EXPECT_EQ(info->nodeText, L"Node 11");

  game->knowsText = true;
  kernel.forget(KernelFunction::Kernel_GetGameDataFromGameID);
  info = accelSdk.GetGameAccelInfo(1001);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->gameText, L"");
}

TEST_F(GameAccelQuery, SucceedsWithoutAnyFunctionButTheFirst) {
  kernel.forget(KernelFunction::Kernel_GetGameDataFromGameID);
  kernel.forget(KernelFunction::Kernel_GetGameServerDataList);
  kernel.forget(KernelFunction::Kernel_GetGameNodeDataList);
  const std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->serverKey, L"asia-1");
  EXPECT_EQ(info->serverText, L"");
  EXPECT_EQ(info->nodeText, L"");
}

TEST_F(GameAccelQuery, EndsAnUnterminatedGameTextWithItsArray) {
  game->gameText = std::wstring(255, L'\u6E38');
  EXPECT_EQ(accelSdk.GetGameAccelInfo(1001)->gameText, std::wstring(255, L'\u6E38'));
}

TEST_F(GameAccelQuery, FetchesNoListsWithoutAServerKey) {
  game->serverKey = L"";
  const std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->nodeId, 11U);
  EXPECT_EQ(info->serverText, L"");
  EXPECT_EQ(info->nodeText, L"");
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_GetGameLastAccelInfo(1001, 256, 256)",
                                          "Kernel_GetGameDataFromGameID(1001)"));
}

TEST_F(GameAccelQuery, FetchesNoNodesForANodeIdBelowOne) {
  // Even though the list has such nodes.
  game->nodes.records = {nodeRecord(0, L"zero", 1, 2), nodeRecord(0xFFFFFFFF, L"minus one", 3, 4),
                         nodeRecord(0x80000000, L"least", 5, 6)};
  for (const std::uint32_t nodeId : {0U, 0xFFFFFFFFU, 0x80000000U}) {
    game->nodeId = nodeId;
    kernel.clearCalls();
    const std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->nodeId, nodeId);
    EXPECT_EQ(info->serverText, L"Asia 1");
    EXPECT_EQ(info->nodeText, L"");
    EXPECT_EQ(info->nodeValue1, 0U);
    EXPECT_EQ(info->nodeValue2, 0U);
    EXPECT_THAT(kernel.calls(), Not(Contains(StartsWith("Kernel_GetGameNodeDataList"))));
  }
}

TEST_F(GameAccelQuery, FetchesNodesForTheLeastAndTheLargestNodeId) {
  game->nodes.records = {nodeRecord(1, L"one", 1, 2), nodeRecord(0x7FFFFFFF, L"largest", 3, 4)};
  game->nodeId = 1;
  EXPECT_EQ(accelSdk.GetGameAccelInfo(1001)->nodeText, L"one");
  game->nodeId = 0x7FFFFFFF;
  EXPECT_EQ(accelSdk.GetGameAccelInfo(1001)->nodeText, L"largest");
}

TEST_F(GameAccelQuery, TakesTheFirstOfTwoServersWithTheSameKey) {
  game->servers.records = {serverRecord(L"other", L"Other"), serverRecord(L"asia-1", L"First"),
                           serverRecord(L"asia-1", L"Second")};
  EXPECT_EQ(accelSdk.GetGameAccelInfo(1001)->serverText, L"First");
  game->servers.records = {serverRecord(L"asia-1", L""), serverRecord(L"asia-1", L"Second")};
  EXPECT_EQ(accelSdk.GetGameAccelInfo(1001)->serverText, L"");
}

TEST_F(GameAccelQuery, TakesTheFirstOfTwoNodesWithTheSameId) {
  for (const std::wstring_view first : {L"First", L""}) {
    game->nodes.records = {nodeRecord(12, L"Other", 9, 9), nodeRecord(11, first, 1, 2),
                           nodeRecord(11, L"Second", 3, 4)};
    const std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->nodeText, first);
    EXPECT_EQ(info->nodeValue1, 1U);
    EXPECT_EQ(info->nodeValue2, 2U);
  }
}

TEST_F(GameAccelQuery, MatchesServerKeysExactly) {
  for (const std::wstring_view key : {L"Asia-1", L"ASIA-1", L"asia-", L"asia-10", L" asia-1"}) {
    game->servers.records = {serverRecord(key, L"not this one")};
    const std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->serverText, L"");
    // The nodes are asked for by the key, whether or not the server is in the list.
    EXPECT_EQ(info->nodeText, L"Node 11");
  }
  // The longest key that a last acceleration can have, and one more unit in the list.
  game->serverKey = std::wstring(255, L'k');
  game->servers.records = {serverRecord(std::wstring(256, L'k'), L"not this one")};
  EXPECT_EQ(accelSdk.GetGameAccelInfo(1001)->serverText, L"");
}

TEST_F(GameAccelQuery, LeavesTheNodeEmptyWhenTheListLacksIt) {
  game->nodes.records = {nodeRecord(12, L"Other", 1, 2)};
  const std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->nodeText, L"");
  EXPECT_EQ(info->nodeValue1, 0U);
  EXPECT_EQ(info->nodeValue2, 0U);
}

TEST_F(GameAccelQuery, SucceedsWhenTheListsAreRefused) {
  game->servers.refusesFirst = true;
  std::optional<GameAccelInfo> info = accelSdk.GetGameAccelInfo(1001);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->serverText, L"");
  EXPECT_EQ(info->nodeText, L"Node 11");
  game->nodes.refusesSecond = true;
  info = accelSdk.GetGameAccelInfo(1001);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->nodeText, L"");
}

}  // namespace
}  // namespace orva_accelerator::sdk
