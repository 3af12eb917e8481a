// What is in a notification, however it came.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/client/c/connected.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::test {
namespace {

CNotification decode(std::span<const std::uint8_t> header, std::span<const std::uint8_t> payload,
                     orva_code expected = ORVA_OK) {
  int something = 0;
  auto* notification = reinterpret_cast<orva_notification*>(&something);
  orva_error error;
  EXPECT_EQ(orva_notification_decode(header.data(), header.size(), payload.data(), payload.size(),
                                     &notification, &error),
            expected)
      << error.text;
  EXPECT_EQ(notification != nullptr, expected == ORVA_OK);
  return CNotification(notification);
}

CNotification golden(const char* name) {
  const GoldenVector& vector = goldenVector("notifications.json", name);
  return decode(vector.header(), vector.payload());
}

TEST(CNotification, TellsWhoseItIs) {
  const CNotification notification = golden("stop_accel_succeeded");
  EXPECT_EQ(notification->client_id, 7u);
  EXPECT_EQ(notification->type, static_cast<std::uint32_t>(ORVA_NOTIFY_STOP));
  EXPECT_EQ(notification->timestamp, 0x12345678u);
}

TEST(CNotification, OfAStartHasFiguresAndTwoTexts) {
  const CNotification notification = golden("start_accel_accelerating");
  const orva_accel_result* const result = notification->accel;
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->value1, 1001u);
  EXPECT_EQ(result->value2, 2u);
  EXPECT_EQ(result->value3, 103u);
  EXPECT_EQ(result->value4, 104u);
  EXPECT_EQ(result->value5, 105u);
  EXPECT_EQ(result->state, 4u);
  EXPECT_EQ(result->accelerating, 1);
  EXPECT_EQ(result->ended, 0);
  EXPECT_EQ(result->text_lengths_wrapped, 0);
  EXPECT_EQ(textOf(result->text1), "asia-1");
  EXPECT_EQ(textOf(result->text2), "Node 11");
}

TEST(CNotification, OfAnEndedStartSaysSo) {
  const CNotification notification = golden("start_accel_ex_ended_chinese_text");
  ASSERT_NE(notification->accel, nullptr);
  EXPECT_EQ(notification->accel->accelerating, 0);
  EXPECT_EQ(notification->accel->ended, 1);
  EXPECT_EQ(textOf(notification->accel->text2), "加速已结束");
}

TEST(CNotification, OfAStopHasACodeAndAText) {
  const CNotification stopped = golden("stop_accel_succeeded");
  ASSERT_NE(stopped->stop, nullptr);
  EXPECT_EQ(stopped->stop->success, 1);
  EXPECT_EQ(stopped->stop->code, 0);
  EXPECT_EQ(textOf(stopped->stop->text), "Acceleration stopped successfully");
  const CNotification failed = golden("stop_accel_failed");
  EXPECT_EQ(failed->stop->success, 0);
  EXPECT_EQ(failed->stop->code, 10061);
}

TEST(CNotification, OfALoginHasACode) {
  const CNotification notification = golden("user_login_negative_code");
  ASSERT_NE(notification->login, nullptr);
  EXPECT_EQ(notification->login->code, -1);
  EXPECT_EQ(notification->login->success, 0);
  EXPECT_EQ(textOf(notification->login->text), "");
}

TEST(CNotification, OfOneTypeIsNoneOfAnother) {
  const CNotification login = golden("user_login_succeeded");
  EXPECT_EQ(login->accel, nullptr);
  EXPECT_EQ(login->stop, nullptr);
  EXPECT_EQ(login->payload, nullptr);
  EXPECT_EQ(login->payload_length, 0u);
  EXPECT_EQ(golden("stop_accel_failed")->login, nullptr);
}

TEST(CNotification, OfAnUnknownTypeHasItsPayload) {
  Bytes header(goldenVector("headers.json", "push_frame_header").bytes);
  header[8] = 0x34;
  header[9] = 0x12;
  std::fill(header.begin() + 12, header.begin() + 16, std::uint8_t{0});
  const CNotification empty = decode(header, {});
  EXPECT_NE(empty->payload, nullptr);
  EXPECT_EQ(empty->payload_length, 0u);
  header[12] = 2;
  const CNotification unknown = decode(header, Bytes{8, 9});
  EXPECT_EQ(Bytes(unknown->payload, unknown->payload + unknown->payload_length), (Bytes{8, 9}));
  EXPECT_EQ(unknown->login, nullptr);
}

TEST(CNotification, IsNotMadeOfTooFewOrTooManyBytes) {
  const GoldenVector& stop = goldenVector("notifications.json", "stop_accel_succeeded");
  const auto header = stop.header();
  const auto payload = stop.payload();
  for (std::size_t length = 1; length < header.size(); ++length) {
    decode(header.first(length), payload, ORVA_ERROR_PROTOCOL);
  }
  for (std::size_t length = 0; length < payload.size(); ++length) {
    decode(header, payload.first(length), ORVA_ERROR_PROTOCOL);
  }
  Bytes longer(payload.begin(), payload.end());
  longer.push_back(0);
  decode(header, longer, ORVA_ERROR_PROTOCOL);
  Bytes foreign(header.begin(), header.end());
  foreign[0] ^= 1;
  decode(foreign, payload, ORVA_ERROR_PROTOCOL);
}

TEST(CNotification, IsNotMadeOfNullPointers) {
  orva_notification* notification = nullptr;
  orva_error error;
  const GoldenVector& stop = goldenVector("notifications.json", "stop_accel_succeeded");
  EXPECT_EQ(orva_notification_decode(nullptr, 20, nullptr, 0, &notification, &error),
            ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_decode(stop.header().data(), 20, nullptr, 1, &notification, &error),
            ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_decode(stop.header().data(), 20, nullptr, 0, nullptr, &error),
            ORVA_ERROR_USAGE);
}

}  // namespace
}  // namespace orva_accelerator::test
