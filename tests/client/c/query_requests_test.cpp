// The requests that only ask: the bytes that go out, and what is in the results.
#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "tests/client/c/fake_service_test.h"

namespace orva_accelerator::test {
namespace {

using CQueryRequests = FakeServiceTest;

TEST_F(CQueryRequests, GetAccelerationData) {
  service_.answerWith("get_accel_data_chinese_text");
  orva_accel_data* data = nullptr;
  ASSERT_EQ(orva_client_get_accel_data(client(), &data, &error_), ORVA_OK);
  expectAsked("get_accel_data");
  orva_accel_data_numbers numbers{};
  EXPECT_EQ(orva_accel_data_get_numbers(data, &numbers), ORVA_OK);
  EXPECT_EQ(numbers.value1, 101u);
  EXPECT_EQ(numbers.value2, 102u);
  EXPECT_EQ(numbers.value3, 103u);
  EXPECT_EQ(numbers.value4, 104u);
  EXPECT_EQ(numbers.value5, 105u);
  EXPECT_EQ(numbers.value6, 106u);
  EXPECT_EQ(numbers.value8, 108u);
  EXPECT_EQ(numbers.value9, 109u);
  EXPECT_EQ(numbers.value10, 110u);
  EXPECT_EQ(textOf(data, orva_accel_data_get_text, ORVA_TEXT_TEXT3), "上海节点");
  EXPECT_EQ(textOf(data, orva_accel_data_get_text, ORVA_TEXT_INFO_TEXT), "(none)");
  EXPECT_STREQ(orva_accel_data_get_text(data, ORVA_TEXT_TEXT3, nullptr), "上海节点");
  EXPECT_EQ(orva_accel_data_get_numbers(data, nullptr), ORVA_ERROR_USAGE);
  orva_accel_data_free(data);
}

TEST_F(CQueryRequests, GetConsoleData) {
  service_.answerWith("get_console_data");
  orva_console_data data{};
  ASSERT_EQ(orva_client_get_console_data(client(), &data, &error_), ORVA_OK);
  expectAsked("get_console_data");
  EXPECT_EQ(data.status, 1u);
  EXPECT_EQ(data.console1, 301u);
  EXPECT_EQ(data.console2, 302u);
  EXPECT_EQ(data.console3, 303u);
  EXPECT_EQ(data.console4, 304u);
  EXPECT_EQ(data.console5, 4294967295u);
  EXPECT_EQ(data.console_flag, 1);
}

TEST_F(CQueryRequests, GetTheLastAcceleration) {
  service_.answerWith("get_game_last_accel_info");
  orva_last_accel_info* info = nullptr;
  ASSERT_EQ(orva_client_get_last_accel_info(client(), 1001, &info, &error_), ORVA_OK);
  expectAsked("get_game_last_accel_info");
  orva_last_accel_info_numbers numbers{};
  EXPECT_EQ(orva_last_accel_info_get_numbers(info, &numbers), ORVA_OK);
  EXPECT_EQ(numbers.status, 1u);
  EXPECT_EQ(numbers.area_id, 2u);
  EXPECT_EQ(numbers.node_id, 11u);
  EXPECT_EQ(numbers.info_flag, 1);
  EXPECT_EQ(numbers.info_value, 86u);
  EXPECT_EQ(textOf(info, orva_last_accel_info_get_text, ORVA_TEXT_INFO_TEXT), "mode-2");
  EXPECT_EQ(textOf(info, orva_last_accel_info_get_text, ORVA_TEXT_SERVER_KEY), "asia-1");
  EXPECT_EQ(textOf(info, orva_last_accel_info_get_text, ORVA_TEXT_GAME_TEXT), "(none)");
  orva_last_accel_info_free(info);

  service_.answerWith("get_game_last_accel_info_failed");
  ASSERT_EQ(orva_client_get_last_accel_info(client(), 1001, &info, &error_), ORVA_OK);
  EXPECT_EQ(orva_last_accel_info_get_numbers(info, &numbers), ORVA_OK);
  EXPECT_EQ(numbers.status, 0u);
  EXPECT_EQ(textOf(info, orva_last_accel_info_get_text, ORVA_TEXT_INFO_TEXT), "");
  orva_last_accel_info_free(info);
}

TEST_F(CQueryRequests, GetTheSummaryOfASpeedTest) {
  service_.answerWith("get_test_speed_data");
  orva_speed_summary speed{};
  ASSERT_EQ(orva_client_get_speed_summary(client(), 1001, 2, "asia-1", 6, 1, &speed, &error_),
            ORVA_OK);
  expectAsked("get_test_speed_data");
  EXPECT_EQ(speed.status, 1u);
  EXPECT_THAT(speed.summary, testing::ElementsAre(1, 202, 203, 204, 205, 206, 207, 208, 209, 210,
                                                  211, 212, 213, 4294967295u));
}

TEST_F(CQueryRequests, GetAGame) {
  service_.answerWith("get_game_accel_info");
  orva_game_info* info = nullptr;
  ASSERT_EQ(orva_client_get_game_info(client(), 1001, &info, &error_), ORVA_OK);
  expectAsked("get_game_accel_info");
  orva_game_info_numbers numbers{};
  numbers.reserved_long = 7;
  EXPECT_EQ(orva_game_info_get_numbers(info, &numbers), ORVA_OK);
  EXPECT_EQ(numbers.status, 1u);
  EXPECT_EQ(numbers.game_id, 1001u);
  EXPECT_EQ(numbers.area_id, 2u);
  EXPECT_EQ(numbers.node_id, 11u);
  EXPECT_EQ(numbers.info_flag, 1);
  EXPECT_EQ(numbers.info_value, 86u);
  EXPECT_EQ(numbers.node_value1, 38u);
  EXPECT_EQ(numbers.node_value2, 3u);
  EXPECT_EQ(numbers.reserved_long, 0u);
  EXPECT_EQ(numbers.reserved_word, 0u);
  EXPECT_EQ(textOf(info, orva_game_info_get_text, ORVA_TEXT_GAME_TEXT), "Star Arena");
  EXPECT_EQ(textOf(info, orva_game_info_get_text, ORVA_TEXT_INFO_TEXT), "mode-2");
  EXPECT_EQ(textOf(info, orva_game_info_get_text, ORVA_TEXT_SERVER_KEY), "asia-1");
  EXPECT_EQ(textOf(info, orva_game_info_get_text, ORVA_TEXT_SERVER_TEXT), "Asia 1");
  EXPECT_EQ(textOf(info, orva_game_info_get_text, ORVA_TEXT_NODE_TEXT), "Node 11");
  EXPECT_EQ(textOf(info, orva_game_info_get_text, ORVA_TEXT_TEXT3), "(none)");
  orva_game_info_free(info);
}

TEST_F(CQueryRequests, GetTheUsedNodes) {
  service_.answerWith("get_game_used_node_list_two");
  orva_used_nodes* nodes = nullptr;
  ASSERT_EQ(orva_client_get_used_nodes(client(), 1001, &nodes, &error_), ORVA_OK);
  expectAsked("get_game_used_node_list");
  EXPECT_EQ(orva_used_nodes_get_status(nodes), 1u);
  ASSERT_EQ(orva_used_nodes_get_count(nodes), 2u);
  orva_used_node_numbers numbers{};
  EXPECT_EQ(orva_used_nodes_get_numbers(nodes, 0, &numbers), ORVA_OK);
  EXPECT_EQ(numbers.used1, 11u);
  EXPECT_EQ(numbers.used2, 2u);
  EXPECT_EQ(numbers.used3, 38u);
  EXPECT_EQ(numbers.used4, 1761661963614u);
  std::size_t length = 0;
  EXPECT_STREQ(orva_used_nodes_get_text(nodes, 1, ORVA_TEXT_USED_TEXT1, &length), "上海电信");
  EXPECT_EQ(length, 12u);
  EXPECT_STREQ(orva_used_nodes_get_text(nodes, 1, ORVA_TEXT_USED_TEXT2, &length), "上海节点21");
  EXPECT_EQ(length, 14u);
  EXPECT_EQ(orva_used_nodes_get_text(nodes, 1, ORVA_TEXT_TEXT3, &length), nullptr);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(orva_used_nodes_get_numbers(nodes, 2, &numbers), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_used_nodes_get_numbers(nodes, SIZE_MAX, &numbers), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_used_nodes_get_text(nodes, 2, ORVA_TEXT_USED_TEXT1, nullptr), nullptr);
  orva_used_nodes_free(nodes);
}

TEST_F(CQueryRequests, SendAnythingAndGiveTheAnswerAsItCame) {
  service_.answerWith("query_accel_owner_own");
  orva_answer* answer = nullptr;
  ASSERT_EQ(orva_client_request(client(), 0x503, nullptr, 0, &answer, &error_), ORVA_OK);
  expectAsked("query_accel_owner");
  std::size_t length = 0;
  const std::uint8_t* bytes = orva_answer_get_bytes(answer, &length);
  EXPECT_EQ(Bytes(bytes, bytes + length), (Bytes{1, 1}));
  orva_answer_free(answer);

  // Nobody knows this type, which is no error of a raw request.
  const GoldenVector& game = goldenVector("requests.json", "get_game_accel_info");
  ASSERT_EQ(orva_client_request(client(), 0x602, game.payload().data(), game.payload().size(),
                                &answer, &error_),
            ORVA_OK);
  expectAsked("get_game_accel_info");
  EXPECT_NE(orva_answer_get_bytes(answer, &length), nullptr);
  EXPECT_EQ(length, 0u);
  orva_answer_free(answer);
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
  orva_console_data console{};
  orva_speed_summary speed{};
  orva_answer* answer = nullptr;
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
}

TEST(CQueryResults, OfNothingAreNothing) {
  orva_accel_data_numbers accel{};
  orva_last_accel_info_numbers last{};
  orva_game_info_numbers game{};
  orva_used_node_numbers node{};
  std::size_t length = 7;
  EXPECT_EQ(orva_accel_data_get_numbers(nullptr, &accel), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_last_accel_info_get_numbers(nullptr, &last), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_game_info_get_numbers(nullptr, &game), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_used_nodes_get_numbers(nullptr, 0, &node), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_used_nodes_get_status(nullptr), 0u);
  EXPECT_EQ(orva_used_nodes_get_count(nullptr), 0u);
  EXPECT_EQ(orva_accel_data_get_text(nullptr, ORVA_TEXT_TEXT3, nullptr), nullptr);
  EXPECT_EQ(orva_last_accel_info_get_text(nullptr, ORVA_TEXT_INFO_TEXT, nullptr), nullptr);
  EXPECT_EQ(orva_game_info_get_text(nullptr, ORVA_TEXT_INFO_TEXT, nullptr), nullptr);
  EXPECT_EQ(orva_used_nodes_get_text(nullptr, 0, ORVA_TEXT_USED_TEXT1, nullptr), nullptr);
  EXPECT_EQ(orva_answer_get_bytes(nullptr, &length), nullptr);
  EXPECT_EQ(length, 0u);
  orva_accel_data_free(nullptr);
  orva_last_accel_info_free(nullptr);
  orva_game_info_free(nullptr);
  orva_used_nodes_free(nullptr);
  orva_answer_free(nullptr);
}

}  // namespace
}  // namespace orva_accelerator::test
