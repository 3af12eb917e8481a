#include "tools/notification_view.h"

#include <gtest/gtest.h>

namespace orva_accelerator::tools {
namespace {

client::Notification start(std::uint32_t state) {
  client::AccelResult result;
  result.value1 = 1001;
  result.text1 = "上海";
  result.state = state;
  return {7, 0x1000, 42, result};
}

TEST(NotificationView, PutsStatesIntoWords) {
  EXPECT_STREQ(StateName(4), "accelerating");
  for (const std::uint32_t state : {5u, 6u, 7u}) EXPECT_STREQ(StateName(state), "ended");
  for (const std::uint32_t state : {0u, 1u, 3u, 8u, 9u}) EXPECT_STREQ(StateName(state), "progress");
}

TEST(NotificationView, ShowsAStartInOneLine) {
  EXPECT_EQ(NotificationText(start(4), 7),
            "start     client 7 (own)  accelerating  value1 1001, value2 0, text1 上海, value3 0, "
            "state 4, value4 0, value5 0");
  EXPECT_EQ(NotificationText(start(3), 8).substr(0, 38), "start     client 7  progress      valu");
}

TEST(NotificationView, ShowsStopsAndLoginsInOneLine) {
  EXPECT_EQ(NotificationText({7, 0x1002, 0, client::StopResult{true, 0, "done"}}, 7),
            "stop      client 7 (own)  stopped       code 0, text done");
  EXPECT_EQ(NotificationText({9, 0x1003, 0, client::LoginResult{-1, ""}}, 7),
            "login     client 9  failed        code -1");
}

TEST(NotificationView, ShowsWhatItDoesNotKnowInOneLine) {
  EXPECT_EQ(NotificationText({9, 0x2000, 1, client::UnknownResult{{0xAB, 2}}}, 7),
            "unknown   client 9  not understood  payload ab02");
  EXPECT_EQ(NotificationText({7, 0x1002, 0, client::StopResult{false, 5, ""}}, 7),
            "stop      client 7 (own)  failed        code 5");
}

TEST(NotificationView, SaysThatLengthsOfTextsHaveWrapped) {
  client::Notification notification = start(4);
  notification.type = 0x1001;
  EXPECT_FALSE(ToJson(notification, 7).contains("textLengthsWrapped"));
  std::get<client::AccelResult>(notification.body).textLengthsWrapped = true;
  const Json json = ToJson(notification, 7);
  EXPECT_EQ(json.at("notification"), "start-ex");
  EXPECT_EQ(json.at("textLengthsWrapped"), true);
}

TEST(NotificationView, GivesProgramsEveryField) {
  EXPECT_EQ(
      OneLine(ToJson(start(5), 7)),
      "{\"notification\":\"start\",\"type\":4096,\"clientId\":7,\"own\":true,\"timestamp\":42,"
      "\"stateName\":\"ended\",\"value1\":1001,\"value2\":0,\"text1\":\"上海\",\"value3\":0,"
      "\"state\":5,\"value4\":0,\"value5\":0,\"text2\":\"\"}");
  EXPECT_EQ(OneLine(ToJson(client::Notification{9, 0x2000, 1, client::UnknownResult{{1, 2}}}, 7)),
            "{\"notification\":\"unknown\",\"type\":8192,\"clientId\":9,\"own\":false,"
            "\"timestamp\":1,\"payload\":\"0102\"}");
}

}  // namespace
}  // namespace orva_accelerator::tools
