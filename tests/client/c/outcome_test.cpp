// Hearing what became of one's own requests, with a service that announces golden bytes.
#include <gmock/gmock.h>
#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/client/c/connected.h"
#include "tests/client/fake_service.h"

namespace orva_accelerator::test {
namespace {

using testing::HasSubstr;

using Seen = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

void note(void* context, const orva_notification* notification) {
  static_cast<Seen*>(context)->emplace_back(notification->client_id, notification->accel->state);
}

// Client 7, on both pipes by one endpoint.
class COutcome : public testing::Test {
 protected:
  COutcome() {
    endpoint_.push_pipe_name = pushName_.data();
    endpoint_.push_pipe_name_length = pushName_.size();
    service_.answerWith("heartbeat");
  }
  ~COutcome() override {
    orva_client_close(client_);
    orva_push_close(push_);
  }

  orva_code connect(std::uint32_t clientId = 7) {
    return orva_connect_listening(&endpoint_, clientId, patienceMs(), patienceMs(), &client_,
                                  &push_, &error_);
  }
  CNotification outcome(std::uint32_t type, Seen* seen = nullptr) {
    return given<orva_notification>([&](auto** out, auto* error) {
      return orva_push_await(push_, type, patienceMs(), seen == nullptr ? nullptr : note, seen, out,
                             error);
    });
  }

  FakeService service_;
  std::string requestName_ = utf8PipeName(service_.requestPipe());
  std::string pushName_ = utf8PipeName(service_.pushPipe());
  orva_endpoint endpoint_ = endpointOf(requestName_);
  orva_client* client_ = nullptr;
  orva_push* push_ = nullptr;
  orva_error error_{};
};

TEST_F(COutcome, IsHeardAfterConnectingOnce) {
  ASSERT_EQ(connect(), ORVA_OK) << error_.text;
  EXPECT_EQ(service_.countOf(0xFFFF), 1u);
  service_.answerWith("user_login");
  service_.announceAfter(0x101, {"user_login_refused"});
  ASSERT_EQ(orva_client_login(client_, "me", 2, "secret", 6, &error_), ORVA_OK);
  const CNotification login = outcome(ORVA_NOTIFY_LOGIN);
  ASSERT_NE(login, nullptr);
  EXPECT_EQ(login->login->code, 20001);
}

TEST_F(COutcome, OfAStartComesAfterItsProgress) {
  ASSERT_EQ(connect(), ORVA_OK) << error_.text;
  ASSERT_TRUE(service_.waitForRegistration(7));
  service_.announceVector("start_accel_progress_empty_texts", 7);
  service_.announceVector("start_accel_accelerating", 8);
  service_.announceVector("start_accel_ex_accelerating", 7);
  Seen seen;
  const CNotification start = outcome(ORVA_NOTIFY_START, &seen);
  ASSERT_NE(start, nullptr);
  EXPECT_EQ(start->type, std::uint32_t{ORVA_NOTIFY_START_EX});
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].first, 7u);
  EXPECT_EQ(seen[1], (std::pair<std::uint32_t, std::uint32_t>{8, 4}));
}

TEST_F(COutcome, OfAStopIsHeardUnderItsOwnType) {
  ASSERT_EQ(connect(), ORVA_OK) << error_.text;
  ASSERT_TRUE(service_.waitForRegistration(7));
  service_.announceVector("start_accel_ex_accelerating", 7);
  service_.announceVector("stop_accel_succeeded", 7);
  EXPECT_NE(outcome(ORVA_NOTIFY_START_EX), nullptr);
  EXPECT_NE(outcome(ORVA_NOTIFY_STOP), nullptr);
}

TEST_F(COutcome, IsWaitedForBesideOtherThings) {
  ASSERT_EQ(connect(), ORVA_OK) << error_.text;
  ASSERT_TRUE(service_.waitForRegistration(7));
  void* const readable = orva_push_readable(push_);
  EXPECT_EQ(WaitForSingleObject(readable, 0), DWORD{WAIT_TIMEOUT});
  service_.announceVector("stop_accel_succeeded", 7);
  EXPECT_EQ(WaitForSingleObject(readable, patienceMs()), WAIT_OBJECT_0);
  EXPECT_NE(outcome(ORVA_NOTIFY_STOP), nullptr);
  EXPECT_EQ(WaitForSingleObject(readable, 0), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(orva_push_readable(nullptr), nullptr);
}

TEST_F(COutcome, IsNoneWithinTheTime) {
  ASSERT_EQ(connect(), ORVA_OK) << error_.text;
  orva_notification* none = nullptr;
  EXPECT_EQ(orva_push_await(push_, ORVA_NOTIFY_STOP, 0, nullptr, nullptr, &none, &error_),
            ORVA_ERROR_TIMEOUT);
  EXPECT_THAT(error_.text, HasSubstr("announced nothing"));
}

TEST_F(COutcome, EndsWithTheCancellingOfItsEndpoint) {
  ASSERT_EQ(orva_cancel_create(&endpoint_.cancel, nullptr), ORVA_OK);
  ASSERT_EQ(connect(), ORVA_OK) << error_.text;
  ASSERT_EQ(orva_cancel_set(endpoint_.cancel, nullptr), ORVA_OK);
  orva_notification* none = nullptr;
  EXPECT_EQ(
      orva_push_await(push_, ORVA_NOTIFY_LOGIN, patienceMs(), nullptr, nullptr, &none, &error_),
      ORVA_ERROR_INTERRUPTED);
  std::uint32_t clock = 0;
  service_.answer(0xFFFF, {});
  EXPECT_EQ(orva_client_heartbeat(client_, &clock, &error_), ORVA_ERROR_INTERRUPTED);
  orva_client_close(std::exchange(client_, nullptr));
  orva_push_close(std::exchange(push_, nullptr));
  orva_cancel_close(endpoint_.cancel);
}

TEST_F(COutcome, TakesNothingThatCannotBe) {
  EXPECT_EQ(connect(0), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_connect_listening(&endpoint_, 7, 0, 0, &client_, nullptr, &error_),
            ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_connect_listening(&endpoint_, 7, 0, 0, nullptr, &push_, &error_),
            ORVA_ERROR_USAGE);
  endpoint_.push_pipe_name = nullptr;
  EXPECT_EQ(connect(), ORVA_ERROR_USAGE);
  EXPECT_THAT(error_.text, HasSubstr("push_pipe_name is NULL"));
  endpoint_.push_pipe_name = pushName_.data();
  ASSERT_EQ(connect(), ORVA_OK) << error_.text;
  orva_notification* none = nullptr;
  for (const std::uint32_t type : {0u, 0x0FFFu, 0x1004u}) {
    EXPECT_EQ(orva_push_await(push_, type, 0, nullptr, nullptr, &none, &error_), ORVA_ERROR_USAGE);
  }
  EXPECT_EQ(orva_push_await(nullptr, ORVA_NOTIFY_STOP, 0, nullptr, nullptr, &none, &error_),
            ORVA_ERROR_USAGE);
}

TEST_F(COutcome, LeavesNothingBehindWhenItCannotConnect) {
  service_.answer(0xFFFF, {});
  EXPECT_EQ(orva_connect_listening(&endpoint_, 7, patienceMs(), 0, &client_, &push_, &error_),
            ORVA_ERROR_TIMEOUT);
  EXPECT_EQ(client_, nullptr);
  EXPECT_EQ(push_, nullptr);
}

}  // namespace
}  // namespace orva_accelerator::test
