#include "client/notifications.h"

#include <gtest/gtest.h>

#include <string>

#include "ipc/wire/message_types.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using test::GoldenVector;

std::uint32_t word(const GoldenVector& vector, const char* field) {
  return vector.number<std::uint32_t>(field);
}

template <typename Check>
void forEach(const std::string& message, Check check) {
  int seen = 0;
  for (const GoldenVector& vector : test::goldenVectors("notifications.json")) {
    if (vector.message != message) continue;
    SCOPED_TRACE(vector.name);
    ++seen;
    const auto body = DecodeNotificationBody(vector.type, vector.payload());
    ASSERT_TRUE(body.ok()) << Describe(body.error());
    check(vector, body.value());
  }
  EXPECT_GT(seen, 0);
}

TEST(NotificationDecoding, StartResultGivesEveryField) {
  for (const char* message : {"NotifyStartAccel", "NotifyStartAccelEx"}) {
    forEach(message, [](const GoldenVector& vector, const NotificationBody& body) {
      const auto& result = std::get<AccelResult>(body);
      EXPECT_EQ(result.value1, word(vector, "value1"));
      EXPECT_EQ(result.value2, word(vector, "value2"));
      EXPECT_EQ(result.text1, vector.text("text1"));
      EXPECT_EQ(result.value3, word(vector, "value3"));
      EXPECT_EQ(result.value4, word(vector, "value4"));
      EXPECT_EQ(result.state, word(vector, "state"));
      EXPECT_EQ(result.value5, word(vector, "value5"));
      EXPECT_EQ(result.text2, vector.text("text2"));
      EXPECT_FALSE(result.textLengthsWrapped);
    });
  }
}

TEST(NotificationDecoding, StopResultGivesEveryField) {
  forEach("NotifyStopAccel", [](const GoldenVector& vector, const NotificationBody& body) {
    const auto& result = std::get<StopResult>(body);
    EXPECT_EQ(result.success, word(vector, "success") != 0);
    EXPECT_EQ(result.code, vector.number<std::int32_t>("code"));
    EXPECT_EQ(result.text, vector.text("text"));
  });
}

TEST(NotificationDecoding, LoginResultGivesEveryField) {
  forEach("NotifyUserLogin", [](const GoldenVector& vector, const NotificationBody& body) {
    const auto& result = std::get<LoginResult>(body);
    EXPECT_EQ(result.code, vector.number<std::int32_t>("code"));
    EXPECT_EQ(result.text, vector.text("text"));
  });
}

TEST(NotificationDecoding, OnlyFourAcceleratesAndOnlyFiveToSevenEnd) {
  for (std::uint32_t state = 0; state < 12; ++state) {
    AccelResult result;
    result.state = state;
    EXPECT_EQ(result.accelerating(), state == 4) << state;
    EXPECT_EQ(result.ended(), state == 5 || state == 6 || state == 7) << state;
  }
}

TEST(NotificationDecoding, IsAProtocolErrorWhenThePayloadIsShorterOrLonger) {
  for (const GoldenVector& vector : test::goldenVectors("notifications.json")) {
    SCOPED_TRACE(vector.name);
    const Bytes payload(vector.payload().begin(), vector.payload().end());
    for (std::size_t length = 0; length < payload.size(); ++length) {
      const Bytes shorter(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(length));
      const auto body = DecodeNotificationBody(vector.type, shorter);
      ASSERT_FALSE(body.ok()) << length;
      ASSERT_EQ(body.error().kind, ErrorKind::Protocol);
    }
    Bytes longer = payload;
    longer.push_back(0);
    EXPECT_FALSE(DecodeNotificationBody(vector.type, longer).ok());
  }
}

TEST(NotificationDecoding, TakesStartTextsWhoseLengthsWrapped) {
  // text1 of 65,539 bytes: the length field says 3.
  Bytes payload(32, 0);
  payload[8] = 3;
  payload[28] = 2;
  payload.insert(payload.end(), 65539, 'a');
  payload.insert(payload.end(), 2, 'b');
  const auto body = DecodeNotificationBody(ipc::NotifyStartAccel, payload);
  ASSERT_TRUE(body.ok());
  const auto& result = std::get<AccelResult>(body.value());
  EXPECT_TRUE(result.textLengthsWrapped);
  EXPECT_EQ(result.text1, std::string(65539, 'a'));
  EXPECT_EQ(result.text2, "bb");
}

TEST(NotificationDecoding, KeepsThePayloadOfAnUnknownType) {
  const Bytes payload{1, 2, 3};
  const auto body = DecodeNotificationBody(0x1004, payload);
  EXPECT_EQ(std::get<UnknownResult>(body.value()).payload, payload);
}

}  // namespace
}  // namespace orva_accelerator::client
