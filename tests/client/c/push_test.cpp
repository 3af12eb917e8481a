// Registering and waiting, over a real pipe.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "tests/client/c/connected.h"
#include "tests/client/server_end.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::test {
namespace {

constexpr std::uint32_t kSoonMs = 50;

class CPushTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(orva_cancel_create(&cancel_, nullptr), ORVA_OK);
    push_ = registerAt(name_, 0x01020304, cancel_);
    ASSERT_TRUE(push_);
    ASSERT_TRUE(end_.accept());
    EXPECT_EQ(end_.read(), (Bytes{4, 3, 2, 1}));
  }

  void send(const char* name) {
    const GoldenVector& vector = goldenVector("notifications.json", name);
    EXPECT_TRUE(end_.write(vector.header()));
    EXPECT_TRUE(end_.write(vector.payload()));
  }
  void TearDown() override {
    push_.reset();
    orva_cancel_close(cancel_);
  }
  // The code of a wait that must give nothing.
  orva_code waitInVain(std::uint32_t timeoutMs) {
    int something = 0;
    auto* notification = reinterpret_cast<orva_notification*>(&something);
    const orva_code code = orva_push_next(push_.get(), timeoutMs, &notification, &error_);
    EXPECT_EQ(notification, nullptr);
    EXPECT_EQ(error_.code, code);
    return code;
  }
  std::uint32_t typeOfNext() const {
    const CNotification notification = nextOf(push_);
    return notification ? notification->type : 0;
  }

  std::wstring name_ = uniquePipeName(L"push");
  ServerEnd end_{name_};
  orva_cancel* cancel_ = nullptr;
  CPush push_;
  orva_error error_{};
};

TEST_F(CPushTest, GivesNotificationsInTheirOrder) {
  send("user_login_succeeded");
  send("start_accel_accelerating");
  EXPECT_EQ(typeOfNext(), 0x1003u);
  EXPECT_EQ(typeOfNext(), 0x1000u);
}

TEST_F(CPushTest, LosesNothingByATimeout) {
  EXPECT_EQ(waitInVain(0), ORVA_ERROR_TIMEOUT);
  EXPECT_EQ(waitInVain(kSoonMs), ORVA_ERROR_TIMEOUT);
  send("stop_accel_succeeded");
  EXPECT_EQ(typeOfNext(), 0x1002u);
}

TEST_F(CPushTest, EndsEveryWaitUntilTheCancellingIsTakenBack) {
  ASSERT_EQ(orva_cancel_set(cancel_, nullptr), ORVA_OK);
  EXPECT_EQ(waitInVain(patienceMs()), ORVA_ERROR_INTERRUPTED);
  EXPECT_EQ(waitInVain(patienceMs()), ORVA_ERROR_INTERRUPTED);
  ASSERT_EQ(orva_cancel_reset(cancel_, nullptr), ORVA_OK);
  EXPECT_EQ(waitInVain(0), ORVA_ERROR_TIMEOUT);
}

TEST_F(CPushTest, EndsTheWaitOfAnotherThreadAndLosesNothing) {
  std::atomic<orva_code> code{-1};
  std::thread waiting([&] {
    orva_notification* notification = nullptr;
    code = orva_push_next(push_.get(), patienceMs(), &notification, nullptr);
  });
  EXPECT_EQ(orva_cancel_set(cancel_, nullptr), ORVA_OK);
  waiting.join();
  EXPECT_EQ(code, ORVA_ERROR_INTERRUPTED);
  EXPECT_EQ(orva_cancel_reset(cancel_, nullptr), ORVA_OK);
  send("user_login_refused");
  EXPECT_EQ(typeOfNext(), 0x1003u);
}

TEST_F(CPushTest, GoesOnAfterAMessageThatFitsNowhere) {
  ASSERT_TRUE(end_.write(Bytes{1, 2, 3}));
  EXPECT_EQ(waitInVain(patienceMs()), ORVA_ERROR_PROTOCOL);
  EXPECT_EQ(error_.win32_code, 0u);
  send("user_login_succeeded");
  EXPECT_EQ(typeOfNext(), 0x1003u);
}

TEST_F(CPushTest, SaysThatTheServiceHasHungUp) {
  end_.disconnect();
  EXPECT_EQ(waitInVain(patienceMs()), ORVA_ERROR_HUNG_UP);
  EXPECT_NE(error_.win32_code, 0u);
}

TEST_F(CPushTest, HangsUpWhenClosed) {
  push_.reset();
  EXPECT_TRUE(end_.clientLeaves());
}

TEST_F(CPushTest, TakesNoNullPointer) {
  orva_notification* notification = nullptr;
  EXPECT_EQ(orva_push_next(nullptr, 0, &notification, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_push_next(push_.get(), 0, nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_cancel_set(nullptr, &error_), ORVA_ERROR_USAGE);
  EXPECT_EQ(orva_push_register(nullptr, 7, 0, nullptr, &error_), ORVA_ERROR_USAGE);
  orva_push_close(nullptr);
}

TEST(CPush, SaysThatNobodyServesThePipe) {
  const std::string name = utf8PipeName(uniquePipeName(L"nobody"));
  const orva_endpoint endpoint = endpointOf(name);
  orva_push* push = nullptr;
  orva_error error;
  EXPECT_EQ(orva_push_register(&endpoint, 7, 0, &push, &error), ORVA_ERROR_NOT_RUNNING);
  EXPECT_EQ(push, nullptr);
}

}  // namespace
}  // namespace orva_accelerator::test
