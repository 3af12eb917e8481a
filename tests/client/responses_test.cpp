#include "client/responses.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using test::GoldenVector;
using Check = std::function<void(const GoldenVector&, ByteView)>;

void forEach(const std::string& message, const Check& check) {
  int seen = 0;
  for (const GoldenVector& vector : test::goldenVectors("responses.json")) {
    if (vector.message != message) continue;
    SCOPED_TRACE(vector.name);
    ++seen;
    check(vector, vector.payload());
  }
  EXPECT_GT(seen, 0);
}

std::uint32_t word(const GoldenVector& vector, const char* field) {
  return vector.number<std::uint32_t>(field);
}

bool flag(const GoldenVector& vector, const char* field) {
  return word(vector, field) != 0;
}

TEST(ResponseDecoding, InitGivesTheResult) {
  forEach("MsgSdkInit", [](const GoldenVector& vector, ByteView payload) {
    EXPECT_EQ(DecodeInit(payload).value(), vector.number<std::int32_t>("result"));
  });
}

TEST(ResponseDecoding, LoginAndReleaseAreAcknowledged) {
  for (const char* message : {"MsgUserLogin", "MsgSdkRelease"}) {
    forEach(message, [](const GoldenVector&, ByteView payload) {
      EXPECT_EQ(DecodeAcknowledgement(payload).value(), 1u);
    });
  }
}

TEST(ResponseDecoding, OneByteAnswersAreFlags) {
  const auto check = [](const char* message, const char* field) {
    forEach(message, [field](const GoldenVector& vector, ByteView payload) {
      EXPECT_EQ(DecodeFlag(payload).value(), flag(vector, field));
    });
  };
  check("MsgSdkIsInitialised", "initialised");
  check("MsgStartAccel", "accepted");
  check("MsgStartAccelEx", "accepted");
  check("MsgStopAccel", "result");
}

TEST(ResponseDecoding, OwnerGivesBothFlags) {
  forEach("MsgQueryAccelOwner", [](const GoldenVector& vector, ByteView payload) {
    const auto owner = DecodeAccelOwner(payload).value();
    EXPECT_EQ(owner.anyAcceleration, flag(vector, "anyAcceleration"));
    EXPECT_EQ(owner.ownedByCaller, flag(vector, "ownedByCaller"));
  });
}

TEST(ResponseDecoding, LeaveGivesWhoRemains) {
  forEach("MsgClientLeaving", [](const GoldenVector& vector, ByteView payload) {
    const auto outcome = DecodeLeave(payload).value();
    EXPECT_EQ(outcome.lastClient, flag(vector, "lastClient"));
    EXPECT_EQ(outcome.remainingClients, word(vector, "remainingClients"));
  });
}

TEST(ResponseDecoding, HeartbeatGivesTheClock) {
  forEach("MsgHeartbeat", [](const GoldenVector& vector, ByteView payload) {
    EXPECT_EQ(DecodeHeartbeat(payload).value(), word(vector, "monotonicMs"));
  });
}

TEST(ResponseDecoding, AccelDataGivesEveryField) {
  forEach("MsgGetAccelData", [](const GoldenVector& vector, ByteView payload) {
    const auto data = DecodeAccelData(payload).value();
    EXPECT_EQ(data.value1, word(vector, "value1"));
    EXPECT_EQ(data.value2, word(vector, "value2"));
    EXPECT_EQ(data.value3, word(vector, "value3"));
    EXPECT_EQ(data.text3, vector.text("text3"));
    EXPECT_EQ(data.value4, word(vector, "value4"));
    EXPECT_EQ(data.value5, word(vector, "value5"));
    EXPECT_EQ(data.value6, word(vector, "value6"));
    EXPECT_EQ(data.value8, vector.number<std::uint64_t>("value8"));
    EXPECT_EQ(data.value9, word(vector, "value9"));
    EXPECT_EQ(data.value10, word(vector, "value10"));
  });
}

TEST(ResponseDecoding, ConsoleDataGivesEveryField) {
  forEach("MsgGetConsoleData", [](const GoldenVector& vector, ByteView payload) {
    const auto data = DecodeConsoleData(payload).value();
    EXPECT_EQ(data.status, word(vector, "status"));
    EXPECT_EQ(data.console1, word(vector, "console1"));
    EXPECT_EQ(data.console2, word(vector, "console2"));
    EXPECT_EQ(data.console3, word(vector, "console3"));
    EXPECT_EQ(data.console4, word(vector, "console4"));
    EXPECT_EQ(data.console5, word(vector, "console5"));
    EXPECT_EQ(data.consoleFlag, flag(vector, "consoleFlag"));
  });
}

TEST(ResponseDecoding, LastAccelInfoGivesEveryField) {
  forEach("MsgGetGameLastAccelInfo", [](const GoldenVector& vector, ByteView payload) {
    const auto info = DecodeLastAccelInfo(payload).value();
    EXPECT_EQ(info.status, word(vector, "status"));
    EXPECT_EQ(info.areaId, word(vector, "areaId"));
    EXPECT_EQ(info.nodeId, word(vector, "nodeId"));
    EXPECT_EQ(info.infoFlag, flag(vector, "infoFlag"));
    EXPECT_EQ(info.infoValue, word(vector, "infoValue"));
    EXPECT_EQ(info.infoText, vector.text("infoText"));
    EXPECT_EQ(info.serverKey, vector.text("serverKey"));
  });
}

TEST(ResponseDecoding, SpeedSummaryGivesEveryWord) {
  forEach("MsgGetTestSpeedData", [](const GoldenVector& vector, ByteView payload) {
    const auto speed = DecodeSpeedSummary(payload).value();
    EXPECT_EQ(speed.status, word(vector, "status"));
    const auto& expected = vector.values.at("summary");
    ASSERT_EQ(expected.size(), speed.summary.size());
    for (std::size_t i = 0; i < speed.summary.size(); ++i) {
      EXPECT_EQ(speed.summary[i], expected[i].get<std::uint32_t>()) << i;
    }
  });
}

TEST(ResponseDecoding, GameInfoGivesEveryField) {
  forEach("MsgGetGameAccelInfo", [](const GoldenVector& vector, ByteView payload) {
    const auto info = DecodeGameInfo(payload).value();
    EXPECT_EQ(info.status, word(vector, "status"));
    EXPECT_EQ(info.gameId, word(vector, "gameId"));
    EXPECT_EQ(info.areaId, word(vector, "areaId"));
    EXPECT_EQ(info.nodeId, word(vector, "nodeId"));
    EXPECT_EQ(info.infoFlag, flag(vector, "infoFlag"));
    EXPECT_EQ(info.infoValue, word(vector, "infoValue"));
    EXPECT_EQ(info.reservedWord, word(vector, "reservedWord"));
    EXPECT_EQ(info.reservedLong, vector.number<std::uint64_t>("reservedLong"));
    EXPECT_EQ(info.nodeValue1, word(vector, "nodeValue1"));
    EXPECT_EQ(info.nodeValue2, word(vector, "nodeValue2"));
    EXPECT_EQ(info.gameText, vector.text("gameText"));
    EXPECT_EQ(info.infoText, vector.text("infoText"));
    EXPECT_EQ(info.serverKey, vector.text("serverKey"));
    EXPECT_EQ(info.serverText, vector.text("serverText"));
    EXPECT_EQ(info.nodeText, vector.text("nodeText"));
  });
}

TEST(ResponseDecoding, UsedNodesGiveEveryField) {
  forEach("MsgGetGameUsedNodeList", [](const GoldenVector& vector, ByteView payload) {
    const auto list = DecodeUsedNodes(payload).value();
    EXPECT_EQ(list.status, word(vector, "status"));
    const auto& expected = vector.values.at("nodes");
    ASSERT_EQ(list.nodes.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const UsedNode& node = list.nodes[i];
      EXPECT_EQ(node.used1, expected[i].at("used1").get<std::uint32_t>());
      EXPECT_EQ(node.used2, expected[i].at("used2").get<std::uint32_t>());
      EXPECT_EQ(node.used3, expected[i].at("used3").get<std::uint32_t>());
      EXPECT_EQ(node.used4, expected[i].at("used4").get<std::uint64_t>());
      EXPECT_EQ(node.usedText1, expected[i].at("usedText1").get<std::string>());
      EXPECT_EQ(node.usedText2, expected[i].at("usedText2").get<std::string>());
    }
  });
}

}  // namespace
}  // namespace orva_accelerator::client
