// The requests that only ask: the bytes that go out, and what is in the results.
#include <gmock/gmock.h>

#include "tests/client/c/fake_service_test.h"

namespace orva_accelerator::test {
namespace {

using CQueryRequests = FakeServiceTest;

TEST_F(CQueryRequests, GetAccelerationData) {
  service_.answerWith("get_accel_data_chinese_text");
  const auto data = given<orva_accel_data>(
      [&](auto** out, auto* error) { return orva_client_get_accel_data(client(), out, error); });
  expectAsked("get_accel_data");
  EXPECT_EQ(data->value1, 101u);
  EXPECT_EQ(data->value2, 102u);
  EXPECT_EQ(data->value3, 103u);
  EXPECT_EQ(data->value4, 104u);
  EXPECT_EQ(data->value5, 105u);
  EXPECT_EQ(data->value6, 106u);
  EXPECT_EQ(data->value8, 108u);
  EXPECT_EQ(data->value9, 109u);
  EXPECT_EQ(data->value10, 110u);
  EXPECT_EQ(textOf(data->text3), "上海节点");
}

TEST_F(CQueryRequests, GetConsoleData) {
  service_.answerWith("get_console_data");
  const auto data = given<orva_console_data>(
      [&](auto** out, auto* error) { return orva_client_get_console_data(client(), out, error); });
  expectAsked("get_console_data");
  EXPECT_EQ(data->status, 1u);
  EXPECT_EQ(data->console1, 301u);
  EXPECT_EQ(data->console2, 302u);
  EXPECT_EQ(data->console3, 303u);
  EXPECT_EQ(data->console4, 304u);
  EXPECT_EQ(data->console5, 4294967295u);
  EXPECT_EQ(data->console_flag, 1);
}

TEST_F(CQueryRequests, GetTheLastAcceleration) {
  const auto ask = [&](auto** out, auto* error) {
    return orva_client_get_last_accel_info(client(), 1001, out, error);
  };
  service_.answerWith("get_game_last_accel_info");
  const auto info = given<orva_last_accel_info>(ask);
  expectAsked("get_game_last_accel_info");
  EXPECT_EQ(info->status, 1u);
  EXPECT_EQ(info->area_id, 2u);
  EXPECT_EQ(info->node_id, 11u);
  EXPECT_EQ(info->info_flag, 1);
  EXPECT_EQ(info->info_value, 86u);
  EXPECT_EQ(textOf(info->info_text), "mode-2");
  EXPECT_EQ(textOf(info->server_key), "asia-1");

  service_.answerWith("get_game_last_accel_info_failed");
  const auto failed = given<orva_last_accel_info>(ask);
  EXPECT_EQ(failed->status, 0u);
  EXPECT_EQ(textOf(failed->info_text), "");
}

TEST_F(CQueryRequests, GetTheSummaryOfASpeedTest) {
  service_.answerWith("get_test_speed_data");
  const auto speed = given<orva_speed_summary>([&](auto** out, auto* error) {
    return orva_client_get_speed_summary(client(), 1001, 2, "asia-1", 6, 1, out, error);
  });
  expectAsked("get_test_speed_data");
  EXPECT_EQ(speed->status, 1u);
  EXPECT_THAT(speed->summary, testing::ElementsAre(1, 202, 203, 204, 205, 206, 207, 208, 209, 210,
                                                   211, 212, 213, 4294967295u));
}

TEST_F(CQueryRequests, GetAGame) {
  service_.answerWith("get_game_accel_info");
  const auto info = given<orva_game_info>([&](auto** out, auto* error) {
    return orva_client_get_game_info(client(), 1001, out, error);
  });
  expectAsked("get_game_accel_info");
  EXPECT_EQ(info->status, 1u);
  EXPECT_EQ(info->game_id, 1001u);
  EXPECT_EQ(info->area_id, 2u);
  EXPECT_EQ(info->node_id, 11u);
  EXPECT_EQ(info->info_flag, 1);
  EXPECT_EQ(info->info_value, 86u);
  EXPECT_EQ(info->node_value1, 38u);
  EXPECT_EQ(info->node_value2, 3u);
  EXPECT_EQ(info->reserved_long, 0u);
  EXPECT_EQ(info->reserved_word, 0u);
  EXPECT_EQ(textOf(info->game_text), "Star Arena");
  EXPECT_EQ(textOf(info->info_text), "mode-2");
  EXPECT_EQ(textOf(info->server_key), "asia-1");
  EXPECT_EQ(textOf(info->server_text), "Asia 1");
  EXPECT_EQ(textOf(info->node_text), "Node 11");
}

TEST_F(CQueryRequests, GetTheUsedNodes) {
  service_.answerWith("get_game_used_node_list_two");
  const auto list = given<orva_used_nodes>([&](auto** out, auto* error) {
    return orva_client_get_used_nodes(client(), 1001, out, error);
  });
  expectAsked("get_game_used_node_list");
  EXPECT_EQ(list->status, 1u);
  ASSERT_EQ(list->count, 2u);
  EXPECT_EQ(list->nodes[0].used1, 11u);
  EXPECT_EQ(list->nodes[0].used2, 2u);
  EXPECT_EQ(list->nodes[0].used3, 38u);
  EXPECT_EQ(list->nodes[0].used4, 1761661963614u);
  EXPECT_EQ(textOf(list->nodes[1].used_text1), "上海电信");
  EXPECT_EQ(textOf(list->nodes[1].used_text2), "上海节点21");
}

TEST_F(CQueryRequests, SendAnythingAndGiveTheAnswerAsItCame) {
  service_.answerWith("query_accel_owner_own");
  const auto owner = given<orva_bytes>([&](auto** out, auto* error) {
    return orva_client_request(client(), 0x503, nullptr, 0, out, error);
  });
  expectAsked("query_accel_owner");
  EXPECT_EQ(Bytes(owner->bytes, owner->bytes + owner->length), (Bytes{1, 1}));

  // Nobody knows this type, which is no error of a raw request.
  const GoldenVector& game = goldenVector("requests.json", "get_game_accel_info");
  const auto nothing = given<orva_bytes>([&](auto** out, auto* error) {
    return orva_client_request(client(), 0x602, game.payload().data(), game.payload().size(), out,
                               error);
  });
  expectAsked("get_game_accel_info");
  EXPECT_NE(nothing->bytes, nullptr);
  EXPECT_EQ(nothing->length, 0u);
}

TEST_F(CQueryRequests, SayWhenTheServiceDoesNotKnowTheRequest) {
  int something = 0;
  auto* nodes = reinterpret_cast<orva_used_nodes*>(&something);
  EXPECT_EQ(orva_client_get_used_nodes(client(), 1, &nodes, &error_), ORVA_ERROR_REFUSED);
  EXPECT_EQ(nodes, nullptr);
  EXPECT_EQ(orva_client_is_usable(client()), 1);
}

TEST_F(CQueryRequests, SayWhenAnAnswerDoesNotKeepItsWord) {
  // Announces more bytes of text than there are.
  Bytes payload(48, 0);
  payload[44] = 200;
  service_.answer(0x600, {Bytes{0, 0, 0, 0, 48, 0, 0, 0}, payload});
  orva_accel_data* data = nullptr;
  EXPECT_EQ(orva_client_get_accel_data(client(), &data, &error_), ORVA_ERROR_PROTOCOL);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(orva_client_is_usable(client()), 1);
}

TEST_F(CQueryRequests, TakeNoNullPointer) {
  orva_accel_data* data = nullptr;
  orva_console_data* console = nullptr;
  orva_speed_summary* speed = nullptr;
  orva_bytes* answer = nullptr;
  EXPECT_EQ(orva_client_get_accel_data(nullptr, &data, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_get_accel_data(client(), nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_get_console_data(nullptr, &console, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_get_console_data(client(), nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_get_last_accel_info(client(), 1, nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_get_speed_summary(client(), 1, 1, nullptr, 1, 1, &speed, &error_),
            ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_get_speed_summary(client(), 1, 1, nullptr, 0, 1, nullptr, &error_),
            ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_get_game_info(client(), 1, nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_get_used_nodes(client(), 1, nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_request(client(), 1, nullptr, 1, &answer, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_request(client(), 1, nullptr, 0, nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_TRUE(service_.requests().empty());
  orva_free(nullptr);
}

}  // namespace
}  // namespace orva_accelerator::test
