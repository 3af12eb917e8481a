#include "tools/notification_view.h"

#include <gtest/gtest.h>

#include <cstring>

namespace orva_accelerator::tools {
namespace {

orva_text text(const char* bytes) {
  return {bytes, std::strlen(bytes)};
}

// Notifications point to what they say, so they are kept together.
struct Start {
  explicit Start(std::uint32_t state) {
    result.value1 = 1001;
    result.text1 = text("上海");
    result.text2 = text("");
    result.state = state;
    result.accelerating = state == 4;
    result.ended = state == 5;
    notification = {7, 0x1000, 42, &result, nullptr, nullptr, nullptr, 0};
  }
  orva_accel_result result{};
  orva_notification notification{};
};

std::string stopLine(const orva_stop_result& result) {
  return notificationText({7, 0x1002, 0, nullptr, &result, nullptr, nullptr, 0}, 7);
}

TEST(NotificationView, ShowsAStartInOneLine) {
  EXPECT_EQ(notificationText(Start(4).notification, 7),
            "start     client 7 (own)  accelerating  value1 1001, value2 0, text1 上海, value3 0, "
            "state 4, value4 0, value5 0");
  EXPECT_EQ(notificationText(Start(3).notification, 8).substr(0, 38),
            "start     client 7  progress      valu");
}

TEST(NotificationView, ShowsStopsAndLoginsInOneLine) {
  EXPECT_EQ(stopLine({1, 0, text("done")}),
            "stop      client 7 (own)  stopped       code 0, text done");
  EXPECT_EQ(stopLine({0, 5, text("")}), "stop      client 7 (own)  failed        code 5");
  const orva_login_result login{0, -1, text("")};
  EXPECT_EQ(notificationText({9, 0x1003, 0, nullptr, nullptr, &login, nullptr, 0}, 7),
            "login     client 9  failed        code -1");
}

constexpr std::uint8_t kPayload[] = {0xAB, 2};
constexpr orva_notification kUnknown{9, 0x2000, 1, nullptr, nullptr, nullptr, kPayload, 2};

TEST(NotificationView, ShowsWhatItDoesNotKnowInOneLine) {
  EXPECT_EQ(notificationText(kUnknown, 7), "unknown   client 9  not understood  payload ab02");
}

TEST(NotificationView, SaysThatLengthsOfTextsHaveWrapped) {
  Start start(4);
  start.notification.type = 0x1001;
  EXPECT_FALSE(notificationJson(start.notification, 7).contains("textLengthsWrapped"));
  start.result.text_lengths_wrapped = 1;
  const Json json = notificationJson(start.notification, 7);
  EXPECT_EQ(json.at("notification"), "start-ex");
  EXPECT_EQ(json.at("textLengthsWrapped"), true);
}

TEST(NotificationView, GivesProgramsEveryField) {
  EXPECT_EQ(
      oneLine(notificationJson(Start(5).notification, 7)),
      "{\"notification\":\"start\",\"type\":4096,\"clientId\":7,\"own\":true,\"timestamp\":42,"
      "\"stateName\":\"ended\",\"value1\":1001,\"value2\":0,\"text1\":\"上海\",\"value3\":0,"
      "\"state\":5,\"value4\":0,\"value5\":0,\"text2\":\"\"}");
  EXPECT_EQ(oneLine(notificationJson(kUnknown, 7)),
            "{\"notification\":\"unknown\",\"type\":8192,\"clientId\":9,\"own\":false,"
            "\"timestamp\":1,\"payload\":\"ab02\"}");
}

}  // namespace
}  // namespace orva_accelerator::tools
