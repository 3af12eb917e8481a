#include "client/responses.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

#include "ipc/wire/messages.h"
#include "tests/client/described_fields.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using test::expectFields;
using test::GoldenVector;

void forEach(const std::string& message, const std::function<void(const GoldenVector&)>& check) {
  int seen = 0;
  for (const GoldenVector& vector : test::goldenVectors("responses.json")) {
    if (vector.message != message) continue;
    SCOPED_TRACE(vector.name);
    ++seen;
    check(vector);
  }
  EXPECT_GT(seen, 0);
}

// That the fields are in the right members of the records is tested through the C interface.
template <typename Record>
void expectDescribed(const std::string& message) {
  forEach(message, [](const GoldenVector& vector) {
    const auto answer = decodeAnswer<Record>(vector.payload());
    ASSERT_TRUE(answer.ok());
    expectFields(*answer.value(), vector.values);
  });
}

TEST(ResponseDecoding, GivesEveryFieldOfEveryRecord) {
  expectDescribed<orva_owner>("MsgQueryAccelOwner");
  expectDescribed<orva_leave_outcome>("MsgClientLeaving");
  expectDescribed<orva_accel_data>("MsgGetAccelData");
  expectDescribed<orva_console_data>("MsgGetConsoleData");
  expectDescribed<orva_last_accel_info>("MsgGetGameLastAccelInfo");
  expectDescribed<orva_speed_summary>("MsgGetTestSpeedData");
  expectDescribed<orva_game_info>("MsgGetGameAccelInfo");
}

TEST(ResponseDecoding, GivesEveryFieldOfEveryUsedNode) {
  forEach("MsgGetGameUsedNodeList", [](const GoldenVector& vector) {
    const auto list = decodeAnswer<orva_used_nodes>(vector.payload());
    ASSERT_TRUE(list.ok());
    EXPECT_EQ(list.value()->status, vector.number<std::uint32_t>("status"));
    const auto& expected = vector.values.at("nodes");
    ASSERT_EQ(list.value()->count, expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      expectFields(list.value()->nodes[i], expected[i]);
    }
  });
}

TEST(ResponseDecoding, GivesAnswersOfOneFieldAsTheyTravel) {
  forEach("MsgSdkInit", [](const GoldenVector& vector) {
    EXPECT_EQ(decodeRecord<ipc::SdkInitResponse>(vector.payload()).value().result,
              vector.number<std::int32_t>("result"));
  });
  forEach("MsgHeartbeat", [](const GoldenVector& vector) {
    EXPECT_EQ(decodeRecord<ipc::HeartbeatResponse>(vector.payload()).value().serviceClockMs,
              vector.number<std::uint32_t>("monotonicMs"));
  });
  forEach("MsgStartAccel", [](const GoldenVector& vector) {
    EXPECT_EQ(decodeRecord<ipc::StartAccelResponse>(vector.payload()).value().accepted,
              vector.number<std::uint8_t>("accepted"));
  });
}

TEST(ResponseDecoding, TakesEveryNumberButZeroForAFlagThatIsSet) {
  Bytes payload(28, 0);
  payload[25] = 1;  // consoleFlag 0x100
  EXPECT_EQ(decodeAnswer<orva_console_data>(payload).value()->console_flag, 1);
}

TEST(ResponseDecoding, PutsAZeroBehindEveryText) {
  const GoldenVector& game = test::goldenVector("responses.json", "get_game_accel_info");
  const auto info = decodeAnswer<orva_game_info>(game.payload());
  EXPECT_STREQ(info.value()->game_text.bytes, "Star Arena");
  EXPECT_STREQ(info.value()->node_text.bytes, "Node 11");
  const auto nothing = decodeAnswer<orva_accel_data>(Bytes(48, 0));
  EXPECT_STREQ(nothing.value()->text3.bytes, "");
}

}  // namespace
}  // namespace orva_accelerator::client
