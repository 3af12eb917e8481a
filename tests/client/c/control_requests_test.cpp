// The requests that change something: the bytes that go out, and what comes back.
#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "tests/client/c/fake_service_test.h"

namespace orva_accelerator::test {
namespace {

using testing::HasSubstr;

using CControlRequests = FakeServiceTest;

orva_start_request startRequest(const std::string& text, const std::string& nodes) {
  return orva_start_request{
      sizeof(orva_start_request), 1001, 2, 5, text.data(), text.size(), nodes.data(), nodes.size()};
}

TEST_F(CControlRequests, ManageTheLibrary) {
  std::int32_t result = 0;
  service_.answerWith("sdk_init_not_loaded");
  EXPECT_EQ(orva_client_init(client(), 3, 20250, "official", 8, &result, &error_), ORVA_OK);
  EXPECT_EQ(result, -1);
  expectAsked("sdk_init");
  service_.answerWith("sdk_init_initialised");
  EXPECT_EQ(orva_client_init(client(), 9, 1, nullptr, 0, &result, &error_), ORVA_OK);
  EXPECT_EQ(result, 1);
  expectAsked("sdk_init_empty_name");

  const std::string account = "玩家一号";
  const std::string credential = "密码123";
  service_.answerWith("user_login");
  EXPECT_EQ(orva_client_login(client(), account.data(), account.size(), credential.data(),
                              credential.size(), &error_),
            ORVA_OK);
  expectAsked("user_login_chinese_account");

  service_.answerWith("sdk_release");
  EXPECT_EQ(orva_client_release(client(), &error_), ORVA_OK);
  expectAsked("sdk_release");

  std::int32_t initialised = 7;
  service_.answerWith("sdk_is_initialised_yes");
  EXPECT_EQ(orva_client_is_initialised(client(), &initialised, &error_), ORVA_OK);
  EXPECT_EQ(initialised, 1);
  expectAsked("sdk_is_initialised");
}

TEST_F(CControlRequests, ControlTheAcceleration) {
  const std::string text = "asia-1";
  const std::string nodes = "auto";
  const orva_start_request request = startRequest(text, nodes);
  std::int32_t accepted = 7;
  service_.answerWith("start_accel_refused");
  EXPECT_EQ(orva_client_start(client(), &request, &accepted, &error_), ORVA_OK);
  EXPECT_EQ(accepted, 0);
  expectAsked("start_accel_auto");
  service_.answerWith("start_accel_ex_accepted");
  EXPECT_EQ(orva_client_start_ex(client(), &request, 77, &accepted, &error_), ORVA_OK);
  EXPECT_EQ(accepted, 1);
  expectAsked("start_accel_ex_auto");
  service_.answerWith("stop_accel");
  EXPECT_EQ(orva_client_stop(client(), &error_), ORVA_OK);
  expectAsked("stop_accel");
}

TEST_F(CControlRequests, AskWhoOwnsLeavesAndLives) {
  service_.answerWith("query_accel_owner_other");
  const auto owner = given<orva_owner>(
      [&](auto** out, auto* error) { return orva_client_query_owner(client(), out, error); });
  EXPECT_EQ(owner->any_acceleration, 1);
  EXPECT_EQ(owner->owned_by_caller, 0);
  expectAsked("query_accel_owner");

  service_.answerWith("client_leaving_others_remain");
  const auto outcome = given<orva_leave_outcome>(
      [&](auto** out, auto* error) { return orva_client_leave(client(), out, error); });
  EXPECT_EQ(outcome->last_client, 0);
  EXPECT_EQ(outcome->remaining_clients, 3u);
  expectAsked("client_leaving");

  std::uint32_t clock = 0;
  service_.answerWith("heartbeat");
  EXPECT_EQ(orva_client_heartbeat(client(), &clock, &error_), ORVA_OK);
  EXPECT_EQ(clock, 12345678u);
  expectAsked("heartbeat");
}

TEST_F(CControlRequests, SendNoNodeSelectionThatWouldEndTheService) {
  const std::string text = "asia-1";
  std::int32_t accepted = 7;
  for (const std::string nodes : {"auto;1", "1;x", "99999999999", " 1"}) {
    const orva_start_request request = startRequest(text, nodes);
    EXPECT_EQ(orva_client_start(client(), &request, &accepted, &error_), ORVA_ERROR_USAGE) << nodes;
    EXPECT_THAT(error_.text, HasSubstr("node_selection"));
    EXPECT_EQ(orva_client_start_ex(client(), &request, 0, &accepted, &error_), ORVA_ERROR_USAGE);
  }
  EXPECT_EQ(accepted, 7);
  EXPECT_TRUE(service_.requests().empty());
  EXPECT_EQ(orva_client_is_usable(client()), 1);
}

TEST_F(CControlRequests, SendNoStartThatNobodyInitialised) {
  orva_start_request request = startRequest("", "");
  request.size = 0;
  std::int32_t accepted = 7;
  EXPECT_EQ(orva_client_start(client(), &request, &accepted, &error_), ORVA_ERROR_USAGE);
  EXPECT_THAT(error_.text, HasSubstr("size"));
  EXPECT_TRUE(service_.requests().empty());
}

TEST_F(CControlRequests, SendNoTextThatCannotBeAnnounced) {
  const std::string tooLong(65'536, 'x');
  std::int32_t result = 7;
  EXPECT_EQ(orva_client_init(client(), 1, 0, tooLong.data(), tooLong.size(), &result, &error_),
            ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_login(client(), tooLong.data(), tooLong.size(), "", 0, &error_),
            ORVA_ERROR_USAGE);
  const orva_start_request request = startRequest(tooLong, "");
  EXPECT_EQ(orva_client_start(client(), &request, &result, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(result, 7);
  EXPECT_TRUE(service_.requests().empty());
}

TEST_F(CControlRequests, TakeNoNullPointer) {
  const orva_start_request request = startRequest("", "");
  std::int32_t flag = 7;
  EXPECT_EQ(orva_client_init(nullptr, 1, 0, "", 0, &flag, &error_), ORVA_ERROR_USAGE);
  EXPECT_STREQ(error_.text, "Could not call orva_client_init: client is NULL");
  EXPECT_EQ(orva_client_init(client(), 1, 0, nullptr, 1, &flag, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_init(client(), 1, 0, "", 0, nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_is_initialised(nullptr, &flag, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_is_initialised(client(), nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_login(nullptr, "", 0, "", 0, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_login(client(), nullptr, 1, "", 0, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_login(client(), "", 0, nullptr, 1, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_release(nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_start(nullptr, &request, &flag, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_start(client(), nullptr, &flag, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_start(client(), &request, nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_start_ex(nullptr, &request, 0, &flag, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_start_ex(client(), nullptr, 0, &flag, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_start_ex(client(), &request, 0, nullptr, &error_), ORVA_ERROR_USAGE);
  const orva_start_request noText{sizeof(noText), 0, 0, 0, nullptr, 1, nullptr, 0};
  EXPECT_EQ(orva_client_start(client(), &noText, &flag, &error_), ORVA_ERROR_USAGE);
  const orva_start_request noNodes{sizeof(noNodes), 0, 0, 0, nullptr, 0, nullptr, 1};
  EXPECT_EQ(orva_client_start_ex(client(), &noNodes, 0, &flag, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_stop(nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_query_owner(client(), nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_heartbeat(client(), nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_leave(client(), nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_set_timeout(nullptr, 0, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_client_connect(nullptr, 7, 0, 0, nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(flag, 7);
  EXPECT_TRUE(service_.requests().empty());
  orva_client_close(nullptr);
}

TEST_F(CControlRequests, GoOnWithoutAnErrorToFillIn) {
  EXPECT_EQ(orva_client_stop(client(), nullptr), ORVA_ERROR_REFUSED);  // An empty answer.
  service_.answerWith("stop_accel");
  EXPECT_EQ(orva_client_stop(client(), nullptr), ORVA_OK);
}

}  // namespace
}  // namespace orva_accelerator::test
