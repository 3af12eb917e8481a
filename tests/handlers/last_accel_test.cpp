#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/handlers/query_fixture.h"

namespace orva_accelerator::ipc {
namespace {

using test::answerTo;
using test::Bytes;
using test::goldenResponse;
using test::goldenVector;
using test::hexAt;
using test::isPayload;

class GetGameLastAccelInfo : public test::GameQueryTest {
 protected:
  Bytes answer() const {
    return answerTo(goldenVector("requests.json", "get_game_last_accel_info"));
  }
};

TEST_F(GetGameLastAccelInfo, PutsItsTextsBehindTheValues) {
  EXPECT_TRUE(isPayload(goldenResponse("get_game_last_accel_info"), answer()));
}

TEST_F(GetGameLastAccelInfo, AnswersOneForAnyFlagButZero) {
  game->infoFlag = 0x80;
  EXPECT_TRUE(isPayload(goldenResponse("get_game_last_accel_info"), answer()));
}

TEST_F(GetGameLastAccelInfo, CountsTheBytesOfItsTexts) {
  game->areaId = 3;
  game->nodeId = 21;
  game->infoFlag = 0;
  game->infoValue = 0xFFFFFFFF;
  game->infoText = L"智能模式";
  game->serverKey = L"上海电信";
  EXPECT_TRUE(isPayload(goldenResponse("get_game_last_accel_info_chinese_texts"), answer()));
}

TEST_F(GetGameLastAccelInfo, SucceedsWithEmptyTexts) {
  game->nodeId = 0;
  game->infoFlag = 0;
  game->infoValue = 0;
  game->infoText = L"";
  game->serverKey = L"";
  EXPECT_TRUE(isPayload(goldenResponse("get_game_last_accel_info_empty_texts"), answer()));
}

TEST_F(GetGameLastAccelInfo, CutsTextsOf256UnitsTo255) {
  game->infoText = std::wstring(256, L'游');
  game->serverKey = std::wstring(256, L'k');
  const Bytes bytes = answer();
  ASSERT_EQ(bytes.size(), 24U + 765U + 255U);
  EXPECT_EQ(hexAt(bytes, 20, 4), "FD 02 FF 00");
  EXPECT_EQ(hexAt(bytes, 24 + 762, 5), "E6 B8 B8 6B 6B");
  EXPECT_TRUE(isPayload(goldenResponse("get_game_last_accel_info_longest_texts"), bytes));
}

TEST_F(GetGameLastAccelInfo, Is24ZerosForAnUnknownGame) {
  game->gameId = 1002;
  EXPECT_EQ(answer(), Bytes(24, 0));
  EXPECT_TRUE(isPayload(goldenResponse("get_game_last_accel_info_failed"), answer()));
}

}  // namespace
}  // namespace orva_accelerator::ipc
