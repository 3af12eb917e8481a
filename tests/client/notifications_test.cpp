#include "client/notifications.h"

#include <gtest/gtest.h>

#include <string>

#include "ipc/wire/notifications.h"
#include "tests/client/described_fields.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using test::expectFields;
using test::GoldenVector;

Result<Notification> decode(std::uint32_t type, ByteView payload) {
  ipc::PushFrameHeader header{};
  header.type = type;
  header.clientId = 7;
  return decodeNotification(header, payload);
}

template <typename Check>
void forEach(const std::string& message, Check check) {
  int seen = 0;
  for (const GoldenVector& vector : test::goldenVectors("notifications.json")) {
    if (vector.message != message) continue;
    SCOPED_TRACE(vector.name);
    ++seen;
    const auto notification = decode(vector.type, vector.payload());
    ASSERT_TRUE(notification.ok()) << describe(notification.error());
    check(vector, *notification.value());
  }
  EXPECT_GT(seen, 0);
}

// That the fields are in the right members of the records is tested through the C interface.
TEST(NotificationDecoding, GivesEveryFieldOfAStart) {
  for (const char* message : {"NotifyStartAccel", "NotifyStartAccelEx"}) {
    forEach(message, [](const GoldenVector& vector, const orva_notification& notification) {
      ASSERT_NE(notification.accel, nullptr);
      expectFields(*notification.accel, vector.values);
      EXPECT_EQ(notification.accel->text_lengths_wrapped, 0);
      EXPECT_EQ(notification.stop, nullptr);
      EXPECT_EQ(notification.login, nullptr);
      EXPECT_EQ(notification.payload, nullptr);
    });
  }
}

TEST(NotificationDecoding, GivesEveryFieldOfAStop) {
  forEach("NotifyStopAccel", [](const GoldenVector& vector, const orva_notification& notification) {
    ASSERT_NE(notification.stop, nullptr);
    expectFields(*notification.stop, vector.values);
    EXPECT_EQ(notification.accel, nullptr);
  });
}

TEST(NotificationDecoding, GivesEveryFieldOfALogin) {
  forEach("NotifyUserLogin", [](const GoldenVector& vector, const orva_notification& notification) {
    ASSERT_NE(notification.login, nullptr);
    expectFields(*notification.login, vector.values);
    EXPECT_EQ(notification.login->success, notification.login->code == 0 ? 1 : 0);
  });
}

TEST(NotificationDecoding, OnlyFourAcceleratesAndOnlyFiveToSevenEnd) {
  for (std::uint32_t state = 0; state < 12; ++state) {
    Bytes payload(32, 0);
    payload[16] = static_cast<std::uint8_t>(state);
    const auto notification = decode(ipc::NotifyStartAccel, payload);
    const orva_accel_result& result = *notification.value()->accel;
    EXPECT_EQ(result.accelerating, state == 4 ? 1 : 0) << state;
    EXPECT_EQ(result.ended, state == 5 || state == 6 || state == 7 ? 1 : 0) << state;
  }
}

TEST(NotificationDecoding, IsAProtocolErrorWhenThePayloadIsShorterOrLonger) {
  for (const GoldenVector& vector : test::goldenVectors("notifications.json")) {
    SCOPED_TRACE(vector.name);
    const Bytes payload(vector.payload().begin(), vector.payload().end());
    for (std::size_t length = 0; length < payload.size(); ++length) {
      const Bytes shorter(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(length));
      const auto body = decode(vector.type, shorter);
      ASSERT_FALSE(body.ok()) << length;
      ASSERT_EQ(body.error().kind, ErrorKind::Protocol);
    }
    Bytes longer = payload;
    longer.push_back(0);
    EXPECT_FALSE(decode(vector.type, longer).ok());
  }
}

TEST(NotificationDecoding, TakesStartTextsWhoseLengthsWrapped) {
  // text1 of 65,539 bytes: the length field says 3.
  Bytes payload(32, 0);
  payload[8] = 3;
  payload[28] = 2;
  payload.insert(payload.end(), 65539, 'a');
  payload.insert(payload.end(), 2, 'b');
  const auto body = decode(ipc::NotifyStartAccel, payload);
  ASSERT_TRUE(body.ok());
  const orva_accel_result& result = *body.value()->accel;
  EXPECT_EQ(result.text_lengths_wrapped, 1);
  EXPECT_EQ(std::string_view(result.text1), std::string(65539, 'a'));
  EXPECT_STREQ(result.text2.bytes, "bb");
}

TEST(NotificationDecoding, KeepsThePayloadOfAnUnknownType) {
  const Bytes payload{1, 2, 3};
  const auto body = decode(0x1004, payload);
  const orva_notification& notification = *body.value();
  EXPECT_EQ(Bytes(notification.payload, notification.payload + notification.payload_length),
            payload);
  EXPECT_EQ(notification.accel, nullptr);
}

}  // namespace
}  // namespace orva_accelerator::client
