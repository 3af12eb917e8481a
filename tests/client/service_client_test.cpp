#include "client/service_client.h"

#include <gtest/gtest.h>

#include "tests/client/fake_service.h"

namespace orva_accelerator::client {
namespace {

using test::FakeService;
using test::goldenVector;

// Client 7 of a service that answers with golden bytes.
class ServiceClientTest : public testing::Test {
 protected:
  ServiceClient connect() {
    auto channel = RequestChannel::open(Endpoint{service_.requestPipe(), false},
                                        Deadline::after(test::kPatience));
    return ServiceClient(std::move(channel.value()), 7, test::kPatience);
  }

  // The last request is this golden one, byte for byte.
  void expectAsked(const char* vector) {
    const auto requests = service_.requests();
    ASSERT_FALSE(requests.empty());
    EXPECT_TRUE(isMessage(goldenVector("requests.json", vector), requests.back()));
  }

  FakeService service_;
};

TEST_F(ServiceClientTest, ManagesTheLibrary) {
  auto client = connect();
  service_.answerWith("sdk_init_not_loaded");
  EXPECT_EQ(client.Init({3, 20250, "official"}).value(), -1);
  expectAsked("sdk_init");
  service_.answerWith("user_login");
  EXPECT_TRUE(client.login({"玩家一号", "密码123"}).ok());
  expectAsked("user_login_chinese_account");
  service_.answerWith("sdk_release");
  EXPECT_TRUE(client.Release().ok());
  expectAsked("sdk_release");
  service_.answerWith("sdk_is_initialised_yes");
  EXPECT_TRUE(client.IsInitialised().value());
  expectAsked("sdk_is_initialised");
}

TEST_F(ServiceClientTest, ControlsTheAcceleration) {
  auto client = connect();
  service_.answerWith("start_accel_refused");
  EXPECT_FALSE(client.start({1001, 2, 5, "asia-1", "auto"}).value());
  expectAsked("start_accel_auto");
  service_.answerWith("start_accel_ex_accepted");
  EXPECT_TRUE(client.startEx({{1001, 2, 5, "asia-1", "auto"}, 77}).value());
  expectAsked("start_accel_ex_auto");
  service_.answerWith("stop_accel");
  EXPECT_TRUE(client.stop().ok());
  expectAsked("stop_accel");
  service_.answerWith("query_accel_owner_other");
  EXPECT_TRUE(client.query<ipc::MsgQueryAccelOwner>().value()->any_acceleration);
  expectAsked("query_accel_owner");
  service_.answerWith("client_leaving_others_remain");
  EXPECT_EQ(client.leave().value()->remaining_clients, 3u);
  expectAsked("client_leaving");
  service_.answerWith("heartbeat");
  EXPECT_EQ(client.heartbeat().value(), 12345678u);
  expectAsked("heartbeat");
}

TEST_F(ServiceClientTest, AsksEveryQuery) {
  auto client = connect();
  service_.answerWith("get_accel_data_chinese_text");
  EXPECT_STREQ(client.query<ipc::MsgGetAccelData>().value()->text3.bytes, "上海节点");
  expectAsked("get_accel_data");
  service_.answerWith("get_console_data");
  EXPECT_EQ(client.query<ipc::MsgGetConsoleData>().value()->console3, 303u);
  expectAsked("get_console_data");
  service_.answerWith("get_game_last_accel_info");
  EXPECT_STREQ(client.query<ipc::MsgGetGameLastAccelInfo>({1001}).value()->server_key.bytes,
               "asia-1");
  expectAsked("get_game_last_accel_info");
  service_.answerWith("get_test_speed_data");
  EXPECT_EQ(client.getSpeedSummary({1001, 2, "asia-1", 1}).value()->summary[1], 202u);
  expectAsked("get_test_speed_data");
  service_.answerWith("get_game_accel_info");
  EXPECT_STREQ(client.query<ipc::MsgGetGameAccelInfo>({1001}).value()->node_text.bytes, "Node 11");
  expectAsked("get_game_accel_info");
  service_.answerWith("get_game_used_node_list_two");
  EXPECT_EQ(client.query<ipc::MsgGetGameUsedNodeList>({1001}).value()->count, 2u);
  expectAsked("get_game_used_node_list");
}

TEST_F(ServiceClientTest, CallsAnEmptyAnswerRefusedAndGoesOn) {
  auto client = connect();
  EXPECT_EQ(client.query<ipc::MsgGetAccelData>().error().kind, ErrorKind::Refused);
  service_.answerWith("heartbeat");
  EXPECT_TRUE(client.heartbeat().ok());
}

TEST_F(ServiceClientTest, StaysUsableAfterAnAnswerThatDoesNotDecode) {
  auto client = connect();
  service_.answer(0x600, {Bytes{0, 0, 0, 0, 2, 0, 0, 0}, Bytes{1, 2}});
  EXPECT_EQ(client.query<ipc::MsgGetAccelData>().error().kind, ErrorKind::Protocol);
  EXPECT_TRUE(client.usable());
  service_.answerWith("heartbeat");
  EXPECT_TRUE(client.heartbeat().ok());
}

TEST_F(ServiceClientTest, SendsNothingWhenTheRequestCannotBeEncoded) {
  auto client = connect();
  EXPECT_EQ(client.login({std::string(65536, 'x'), ""}).error().kind, ErrorKind::Usage);
  EXPECT_TRUE(client.usable());
  EXPECT_TRUE(service_.requests().empty());
}

}  // namespace
}  // namespace orva_accelerator::client
