#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ipc/wire/messages.h"
#include "tests/handlers/query_fixture.h"

namespace orva_accelerator::ipc {
namespace {

using test::answerTo;
using test::Bytes;
using test::goldenResponse;
using test::goldenVector;
using test::hexAt;
using test::isPayload;
using test::nodeRecord;
using test::serverRecord;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

class GetGameAccelInfo : public test::GameQueryTest {
 protected:
  Bytes answer() const { return answerTo(goldenVector("requests.json", "get_game_accel_info")); }
};

TEST_F(GetGameAccelInfo, PutsItsFiveTextsBehindTheValues) {
  EXPECT_TRUE(isPayload(goldenResponse("get_game_accel_info"), answer()));
}

TEST_F(GetGameAccelInfo, CountsTheBytesOfItsTexts) {
  game->gameId = 1002;
  game->areaId = 3;
  game->infoText = L"智能模式";
  game->serverKey = L"上海电信";
  game->nodeId = 21;
  game->infoFlag = 0;
  game->infoValue = 5;
  game->gameText = L"星际竞技场";
  game->servers.records = {serverRecord(L"上海电信", L"上海一区")};
  game->nodes.records = {nodeRecord(21, L"上海节点21", 41, 0xFFFFFFFF)};
  EXPECT_TRUE(isPayload(goldenResponse("get_game_accel_info_chinese_texts"),
                        answerTo(MsgGetGameAccelInfo, Bytes{0xEA, 3, 0, 0})));
}

TEST_F(GetGameAccelInfo, HasNoServerAndNoNodeWithoutAServerKey) {
  game->serverKey = L"";
  EXPECT_TRUE(isPayload(goldenResponse("get_game_accel_info_no_server"), answer()));
  EXPECT_THAT(kernel.calls(), Not(Contains(StartsWith("Kernel_GetGameServerDataList"))));
  EXPECT_THAT(kernel.calls(), Not(Contains(StartsWith("Kernel_GetGameNodeDataList"))));
}

TEST_F(GetGameAccelInfo, SucceedsWithoutAnyText) {
  game->areaId = 0;
  game->nodeId = 0;
  game->infoFlag = 0;
  game->infoValue = 0;
  game->infoText = L"";
  game->serverKey = L"";
  game->gameText = L"";
  EXPECT_TRUE(isPayload(goldenResponse("get_game_accel_info_empty_texts"), answer()));
}

TEST_F(GetGameAccelInfo, CarriesFiveLongestTexts) {
  const std::wstring longest(256, L'游');
  // The texts of the last acceleration are cut to leave room for a NUL, the game's has 255 units.
  game->gameText = longest.substr(1);
  game->infoText = std::wstring(256, L'游');
  game->serverKey = std::wstring(256, L'游');
  game->servers.records = {serverRecord(longest.substr(1), longest)};
  game->nodes.records = {nodeRecord(11, longest, 38, 3)};
  const Bytes bytes = answer();
  ASSERT_EQ(bytes.size(), 64U + 3 * 765 + 2 * 768);
  EXPECT_EQ(hexAt(bytes, 48, 16), "FD 02 FD 02 FD 02 00 03 00 03 00 00 00 00 00 00");
  EXPECT_EQ(hexAt(bytes, bytes.size() - 3, 3), "E6 B8 B8");
  EXPECT_TRUE(isPayload(goldenResponse("get_game_accel_info_longest_texts"), bytes));
}

TEST_F(GetGameAccelInfo, Is64ZerosWhenTheLastAccelerationIsUnknown) {
  game->knowsLast = false;
  EXPECT_EQ(answer(), Bytes(64, 0));
  EXPECT_TRUE(isPayload(goldenResponse("get_game_accel_info_failed"), answer()));
}

}  // namespace
}  // namespace orva_accelerator::ipc
