#include "client/outcome.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <vector>

#include "tests/client/deadlines.h"
#include "tests/client/fake_service.h"

namespace orva_accelerator::client {
namespace {

using std::chrono::milliseconds;

// Client 7, which listens, and somebody else, who is client 8.
class Outcome : public testing::Test {
 protected:
  void SetUp() override {
    service_.answerWith("heartbeat");
    auto client = connect(test::kPatience);
    ASSERT_TRUE(client.ok()) << describe(client.error());
    client_.emplace(std::move(client.value()));
    ASSERT_TRUE(service_.waitForRegistration(7));
  }

  Result<ListeningClient> connect(milliseconds requestTimeout) {
    return connectListening(Endpoint{service_.requestPipe(), false},
                            Endpoint{service_.pushPipe(), false}, 7, patient(), requestTimeout);
  }
  // All that was announced before is in the pipe.
  Result<Notification> await(Awaited awaited, const Deadline& deadline = patient(),
                             HANDLE interrupt = nullptr) {
    return awaitOutcome(
        client_->push, awaited, deadline, interrupt,
        [this](const orva_notification& n) { before_.emplace_back(n.client_id, n.type); });
  }

  test::FakeService service_;
  std::optional<ListeningClient> client_;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> before_;  // Client and type.
};

TEST_F(Outcome, IsListenedForBeforeTheOneHeartbeat) {
  const auto requests = service_.requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_TRUE(test::isMessage(test::goldenVector("requests.json", "heartbeat"), requests[0]));
  EXPECT_EQ(client_->push.clientId(), 7u);
  EXPECT_EQ(client_->service.clientId(), 7u);
}

TEST_F(Outcome, CannotBeListenedForWithoutAHeartbeat) {
  service_.answer(0xFFFF, {});
  EXPECT_EQ(connect(milliseconds(50)).error().kind, ErrorKind::Timeout);
}

TEST_F(Outcome, IsTheFirstLoginOfTheClientItself) {
  service_.announceVector("stop_accel_succeeded", 7);
  service_.announceVector("user_login_succeeded", 8);
  service_.announceVector("user_login_refused", 7);
  const auto outcome = await(Awaited::Login);
  ASSERT_TRUE(outcome.ok()) << describe(outcome.error());
  EXPECT_EQ(outcome.value()->login->code, 20001);
  EXPECT_EQ(before_, (decltype(before_){{7, 0x1002}, {8, 0x1003}}));
}

TEST_F(Outcome, IsTheFirstStopOfTheClientItself) {
  service_.announceVector("user_login_succeeded", 7);
  service_.announceVector("stop_accel_succeeded", 8);
  service_.announceVector("stop_accel_negative_code", 7);
  const auto outcome = await(Awaited::Stop);
  ASSERT_TRUE(outcome.ok()) << describe(outcome.error());
  EXPECT_EQ(outcome.value()->stop->code, -7);
  EXPECT_EQ(before_.size(), 2u);
}

TEST_F(Outcome, OfAStartIsNoProgress) {
  service_.announceVector("start_accel_progress_empty_texts", 7);
  service_.announceVector("start_accel_accelerating", 8);
  service_.announceVector("start_accel_accelerating", 7);
  const auto outcome = await(Awaited::Start);
  ASSERT_TRUE(outcome.ok()) << describe(outcome.error());
  EXPECT_EQ(outcome.value()->client_id, 7u);
  EXPECT_EQ(outcome.value()->accel->accelerating, 1);
  EXPECT_EQ(before_, (decltype(before_){{7, 0x1000}, {8, 0x1000}}));
}

TEST_F(Outcome, OfAStartMayBeItsEnd) {
  service_.announceVector("start_accel_failed", 7);
  const auto outcome = await(Awaited::Start);
  ASSERT_TRUE(outcome.ok()) << describe(outcome.error());
  EXPECT_EQ(outcome.value()->accel->ended, 1);
}

TEST_F(Outcome, OfAStartIsThatOfTheOtherKindToo) {
  service_.announceVector("start_accel_ex_accelerating", 7);
  const auto outcome = await(Awaited::Start);
  ASSERT_TRUE(outcome.ok()) << describe(outcome.error());
  EXPECT_EQ(outcome.value()->type, 0x1001u);
}

TEST_F(Outcome, CanBeAwaitedAgainAfterATimeout) {
  const auto none = await(Awaited::Login, soon());
  EXPECT_EQ(describe(none.error()),
            "Could not get the outcome: the service announced nothing in time; the library may "
            "have refused");
  EXPECT_EQ(none.error().kind, ErrorKind::Timeout);
  service_.announceVector("user_login_succeeded", 7);
  EXPECT_TRUE(await(Awaited::Login).ok());
}

// Somebody who is announced all the time keeps nobody from ending the wait.
TEST_F(Outcome, IsNotAwaitedLongerBecauseOfOthers) {
  service_.announceVector("user_login_succeeded", 8);
  service_.announceVector("user_login_succeeded", 7);
  // A header alone is read before its payload has come.
  ASSERT_TRUE(test::waitUntil([&] {
    const auto outcome = await(Awaited::Login, Deadline::after(milliseconds(0)));
    EXPECT_FALSE(outcome.ok());
    return !before_.empty();
  }));
  EXPECT_TRUE(await(Awaited::Login).ok());
}

TEST_F(Outcome, IsNotAwaitedAfterAnInterruptBecauseOfOthers) {
  const win32::UniqueKernelHandle interrupt(CreateEventW(nullptr, TRUE, TRUE, nullptr));
  ASSERT_TRUE(interrupt);
  service_.announceVector("user_login_succeeded", 8);
  service_.announceVector("user_login_succeeded", 7);
  EXPECT_EQ(await(Awaited::Login, patient(), interrupt.get()).error().kind, ErrorKind::Interrupted);
  EXPECT_LE(before_.size(), 1u);
}

TEST_F(Outcome, IsNoLongerAwaitedWhenAnotherThreadInterrupts) {
  const win32::UniqueKernelHandle interrupt(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  ASSERT_TRUE(interrupt);
  auto awaited = std::async(std::launch::async,
                            [&] { return await(Awaited::Login, patient(), interrupt.get()); });
  ASSERT_TRUE(SetEvent(interrupt.get()));
  EXPECT_EQ(awaited.get().error().kind, ErrorKind::Interrupted);
  service_.announceVector("user_login_succeeded", 7);
  EXPECT_TRUE(await(Awaited::Login).ok());
}

}  // namespace
}  // namespace orva_accelerator::client
