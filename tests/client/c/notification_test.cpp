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

std::string text(const CNotification& notification, orva_text which) {
  return textOf(notification.get(), orva_notification_get_text, which);
}

TEST(CNotification, TellsWhoseItIs) {
  const CNotification notification = golden("stop_accel_succeeded");
  orva_notification_head head{};
  ASSERT_EQ(orva_notification_get_head(notification.get(), &head), ORVA_OK);
  EXPECT_EQ(head.client_id, 7u);
  EXPECT_EQ(head.type, static_cast<std::uint32_t>(ORVA_NOTIFY_STOP));
  EXPECT_EQ(head.timestamp, 0x12345678u);
}

TEST(CNotification, OfAStartHasFiguresAndTwoTexts) {
  const CNotification notification = golden("start_accel_accelerating");
  orva_accel_result result{};
  ASSERT_EQ(orva_notification_get_accel_result(notification.get(), &result), ORVA_OK);
  EXPECT_EQ(result.value1, 1001u);
  EXPECT_EQ(result.value2, 2u);
  EXPECT_EQ(result.value3, 103u);
  EXPECT_EQ(result.value4, 104u);
  EXPECT_EQ(result.value5, 105u);
  EXPECT_EQ(result.state, 4u);
  EXPECT_EQ(result.accelerating, 1);
  EXPECT_EQ(result.ended, 0);
  EXPECT_EQ(result.text_lengths_wrapped, 0);
  EXPECT_EQ(text(notification, ORVA_TEXT_RESULT_TEXT1), "asia-1");
  EXPECT_EQ(text(notification, ORVA_TEXT_RESULT_TEXT2), "Node 11");
  EXPECT_EQ(text(notification, ORVA_TEXT_TEXT3), "(none)");
}

TEST(CNotification, OfAnEndedStartSaysSo) {
  const CNotification notification = golden("start_accel_ex_ended_chinese_text");
  orva_accel_result result{};
  ASSERT_EQ(orva_notification_get_accel_result(notification.get(), &result), ORVA_OK);
  EXPECT_EQ(result.accelerating, 0);
  EXPECT_EQ(result.ended, 1);
  EXPECT_EQ(text(notification, ORVA_TEXT_RESULT_TEXT2), "加速已结束");
}

TEST(CNotification, OfAStopHasACodeAndAText) {
  orva_stop_result result{};
  const CNotification stopped = golden("stop_accel_succeeded");
  ASSERT_EQ(orva_notification_get_stop_result(stopped.get(), &result), ORVA_OK);
  EXPECT_EQ(result.success, 1);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(text(stopped, ORVA_TEXT_RESULT_TEXT1), "Acceleration stopped successfully");
  EXPECT_EQ(text(stopped, ORVA_TEXT_RESULT_TEXT2), "(none)");
  const CNotification failed = golden("stop_accel_failed");
  ASSERT_EQ(orva_notification_get_stop_result(failed.get(), &result), ORVA_OK);
  EXPECT_EQ(result.success, 0);
  EXPECT_EQ(result.code, 10061);
}

TEST(CNotification, OfALoginHasACode) {
  std::int32_t code = 7;
  const CNotification notification = golden("user_login_negative_code");
  ASSERT_EQ(orva_notification_get_login_result(notification.get(), &code), ORVA_OK);
  EXPECT_EQ(code, -1);
  EXPECT_EQ(text(notification, ORVA_TEXT_RESULT_TEXT1), "");
}

TEST(CNotification, OfOneTypeIsNoneOfAnother) {
  const CNotification login = golden("user_login_succeeded");
  const CNotification stop = golden("stop_accel_failed");
  orva_accel_result accel{};
  orva_stop_result stopped{};
  std::int32_t code = 7;
  std::size_t length = 7;
  EXPECT_EQ(orva_notification_get_accel_result(login.get(), &accel), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_get_stop_result(login.get(), &stopped), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_get_login_result(stop.get(), &code), ORVA_ERROR_USAGE);
  EXPECT_EQ(code, 7);
  EXPECT_EQ(orva_notification_get_payload(stop.get(), &length), nullptr);
  EXPECT_EQ(length, 0u);
}

TEST(CNotification, OfAnUnknownTypeHasItsPayload) {
  Bytes header(goldenVector("headers.json", "push_frame_header").bytes);
  header[8] = 0x34;
  header[9] = 0x12;
  std::fill(header.begin() + 12, header.begin() + 16, std::uint8_t{0});
  const CNotification empty = decode(header, {});
  std::size_t length = 7;
  EXPECT_NE(orva_notification_get_payload(empty.get(), &length), nullptr);
  EXPECT_EQ(length, 0u);
  header[12] = 2;
  const CNotification unknown = decode(header, Bytes{8, 9});
  const std::uint8_t* const payload = orva_notification_get_payload(unknown.get(), &length);
  EXPECT_EQ(Bytes(payload, payload + length), (Bytes{8, 9}));
  EXPECT_EQ(text(unknown, ORVA_TEXT_RESULT_TEXT1), "(none)");
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

TEST(CNotification, OfNothingIsNothing) {
  orva_notification_head head{};
  orva_accel_result accel{};
  orva_stop_result stop{};
  std::int32_t code = 0;
  EXPECT_EQ(orva_notification_get_head(nullptr, &head), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_get_accel_result(nullptr, &accel), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_get_stop_result(nullptr, &stop), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_get_login_result(nullptr, &code), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_get_text(nullptr, ORVA_TEXT_RESULT_TEXT1, nullptr), nullptr);
  EXPECT_EQ(orva_notification_get_payload(nullptr, nullptr), nullptr);
  orva_notification_free(nullptr);
  const CNotification login = golden("user_login_succeeded");
  EXPECT_EQ(orva_notification_get_head(login.get(), nullptr), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_notification_get_login_result(login.get(), nullptr), ORVA_ERROR_USAGE);
}

}  // namespace
}  // namespace orva_accelerator::test
