#include "client/push_channel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "tests/client/deadlines.h"
#include "tests/client/server_end.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::client {
namespace {

using std::chrono::milliseconds;
using test::GoldenVector;
using test::ServerEnd;

const GoldenVector& golden(const char* name) {
  return test::goldenVector("notifications.json", name);
}

class PushChannelTest : public testing::Test {
 protected:
  void SetUp() override {
    auto channel = PushChannel::registerPush(Endpoint{name_, false}, 0x01020304, patient());
    ASSERT_TRUE(channel.ok()) << describe(channel.error());
    channel_.emplace(std::move(channel.value()));
    ASSERT_TRUE(end_.accept());
    registration_ = end_.read().value_or(Bytes());
  }

  std::wstring name_ = test::uniquePipeName(L"push");
  ServerEnd end_{name_};
  std::optional<PushChannel> channel_;
  Bytes registration_;
};

TEST_F(PushChannelTest, AnnouncesItsIdInOneMessageOfFourBytes) {
  EXPECT_EQ(registration_, (Bytes{4, 3, 2, 1}));
}

TEST_F(PushChannelTest, GivesNotificationsInTheirOrder) {
  for (const char* name : {"user_login_succeeded", "start_accel_accelerating"}) {
    ASSERT_TRUE(end_.write(golden(name).header()));
    ASSERT_TRUE(end_.write(golden(name).payload()));
  }
  EXPECT_EQ(channel_->next(patient()).value()->type, 0x1003u);
  EXPECT_EQ(channel_->next(patient()).value()->type, 0x1000u);
}

TEST_F(PushChannelTest, CanBeUsedAgainAfterATimeout) {
  EXPECT_EQ(channel_->next(soon()).error().kind, ErrorKind::Timeout);
  ASSERT_TRUE(end_.write(golden("stop_accel_succeeded").header()));
  EXPECT_EQ(channel_->next(soon()).error().kind, ErrorKind::Timeout);
  ASSERT_TRUE(end_.write(golden("stop_accel_succeeded").payload()));
  const auto notification = channel_->next(patient());
  ASSERT_TRUE(notification.ok());
  EXPECT_TRUE(notification.value()->stop->success != 0);
}

TEST_F(PushChannelTest, StopsWaitingWhenInterruptedAndLosesNothing) {
  const win32::UniqueKernelHandle interrupt(CreateEventW(nullptr, TRUE, TRUE, nullptr));
  ASSERT_TRUE(interrupt);
  EXPECT_EQ(channel_->next(patient(), interrupt.get()).error().kind, ErrorKind::Interrupted);
  ASSERT_TRUE(end_.write(golden("user_login_refused").header()));
  ASSERT_TRUE(end_.write(golden("user_login_refused").payload()));
  const auto notification = channel_->next(patient());
  ASSERT_TRUE(notification.ok());
  EXPECT_EQ(notification.value()->login->code, 20001);
}

TEST_F(PushChannelTest, TakesAMessageThatIsLargerThanThePipesBuffer) {
  // text1 of 50,000 bytes.
  Bytes header(golden("start_accel_accelerating").header().begin(),
               golden("start_accel_accelerating").header().end());
  Bytes payload(32 + 50'000, 'x');
  std::fill(payload.begin(), payload.begin() + 32, std::uint8_t{0});
  payload[8] = 50'000 & 0xFF;
  payload[9] = 50'000 >> 8;
  for (std::size_t i = 0; i < 4; ++i) {
    header[12 + i] = static_cast<std::uint8_t>(payload.size() >> (8 * i));
  }
  ASSERT_TRUE(end_.write(header));
  std::thread writer([&] { EXPECT_TRUE(end_.write(payload)); });
  const auto notification = channel_->next(patient());
  writer.join();
  ASSERT_TRUE(notification.ok()) << describe(notification.error());
  EXPECT_EQ(std::string_view(notification.value()->accel->text1), std::string(50'000, 'x'));
}

TEST_F(PushChannelTest, TellsInterleavedNotificationsApart) {
  const GoldenVector& start = golden("start_accel_accelerating");
  const GoldenVector& stop = golden("stop_accel_succeeded");
  for (const auto message : {start.header(), stop.header(), stop.payload(), start.payload()}) {
    ASSERT_TRUE(end_.write(message));
  }
  EXPECT_EQ(channel_->next(patient()).value()->type, 0x1002u);
  EXPECT_EQ(channel_->next(patient()).value()->type, 0x1000u);
}

TEST_F(PushChannelTest, DropsAMessageThatFitsNowhereAndGoesOn) {
  ASSERT_TRUE(end_.write(Bytes{1, 2, 3}));
  const auto misplaced = channel_->next(patient());
  ASSERT_FALSE(misplaced.ok());
  EXPECT_EQ(misplaced.error().kind, ErrorKind::Protocol);
  EXPECT_EQ(misplaced.error().win32Code, 0u);
  ASSERT_TRUE(end_.write(golden("user_login_succeeded").header()));
  ASSERT_TRUE(end_.write(golden("user_login_succeeded").payload()));
  EXPECT_TRUE(channel_->next(patient()).ok());
}

TEST_F(PushChannelTest, ThrowsAwayAMessageThatIsLongerThanAnyAndGoesOn) {
  std::thread writer([&] { EXPECT_TRUE(end_.write(Bytes(PushChannel::kLongestMessage + 1))); });
  const auto tooLong = channel_->next(patient());
  writer.join();
  ASSERT_FALSE(tooLong.ok());
  EXPECT_EQ(tooLong.error().kind, ErrorKind::Protocol);
  EXPECT_EQ(tooLong.error().text, "a message of more than 67108864 bytes came");
  EXPECT_EQ(tooLong.error().win32Code, 0u);
  ASSERT_TRUE(end_.write(golden("user_login_succeeded").header()));
  ASSERT_TRUE(end_.write(golden("user_login_succeeded").payload()));
  EXPECT_TRUE(channel_->next(patient()).ok());
}

// A thread that waits for other things too, which takes what is there and then waits again.
class ReadablePushChannel : public PushChannelTest {
 protected:
  bool isReadable(std::chrono::milliseconds limit) const {
    const HANDLE events[] = {another_.get(), channel_->readable()};
    return WaitForMultipleObjects(2, events, FALSE, static_cast<DWORD>(limit.count())) ==
           WAIT_OBJECT_0 + 1;
  }
  Result<Notification> takeAtOnce() { return channel_->next(Deadline::after(milliseconds(0))); }

  const win32::UniqueKernelHandle another_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

TEST_F(ReadablePushChannel, IsReadableWhenAndOnlyWhenSomethingIsThere) {
  EXPECT_FALSE(isReadable(milliseconds(0)));
  ASSERT_TRUE(end_.write(golden("stop_accel_succeeded").header()));
  EXPECT_TRUE(isReadable(test::kPatience));
  EXPECT_EQ(takeAtOnce().error().kind, ErrorKind::Timeout);
  EXPECT_FALSE(isReadable(milliseconds(0)));
  ASSERT_TRUE(end_.write(golden("stop_accel_succeeded").payload()));
  EXPECT_TRUE(isReadable(test::kPatience));
  EXPECT_EQ(takeAtOnce().value()->type, 0x1002u);
  EXPECT_FALSE(isReadable(milliseconds(0)));
  EXPECT_EQ(takeAtOnce().error().kind, ErrorKind::Timeout);
}

TEST_F(ReadablePushChannel, StaysReadableUntilTheLastNotificationIsTaken) {
  for (const char* name : {"user_login_succeeded", "stop_accel_succeeded"}) {
    ASSERT_TRUE(end_.write(golden(name).header()));
    ASSERT_TRUE(end_.write(golden(name).payload()));
  }
  EXPECT_TRUE(isReadable(test::kPatience));
  EXPECT_EQ(takeAtOnce().value()->type, 0x1003u);
  EXPECT_TRUE(isReadable(milliseconds(0)));
  EXPECT_EQ(takeAtOnce().value()->type, 0x1002u);
  EXPECT_FALSE(isReadable(milliseconds(0)));
}

TEST_F(ReadablePushChannel, StaysReadableWithAFinalError) {
  end_.disconnect();
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(isReadable(test::kPatience));
    EXPECT_EQ(takeAtOnce().error().kind, ErrorKind::HungUp);
  }
}

// Here the reading ahead of the next message fails at once, and nothing of it is left pending.
TEST_F(ReadablePushChannel, IsReadableWhenTheConnectionEndsBehindAMessage) {
  ASSERT_TRUE(end_.write(golden("stop_accel_succeeded").header()));
  EXPECT_TRUE(isReadable(test::kPatience));
  end_.disconnect();
  EXPECT_EQ(takeAtOnce().error().kind, ErrorKind::HungUp);
  EXPECT_TRUE(isReadable(milliseconds(0)));
}

// The system ends what a thread has begun to read when that thread ends.
TEST_F(ReadablePushChannel, GoesOnWhenTheThreadHasEndedThatReadBefore) {
  ASSERT_TRUE(end_.write(golden("user_login_succeeded").header()));
  ASSERT_TRUE(end_.write(golden("user_login_succeeded").payload()));
  std::thread([this] { EXPECT_TRUE(channel_->next(patient()).ok()); }).join();
  EXPECT_EQ(takeAtOnce().error().kind, ErrorKind::Timeout);
  EXPECT_FALSE(isReadable(milliseconds(0)));
  ASSERT_TRUE(end_.write(golden("stop_accel_succeeded").header()));
  ASSERT_TRUE(end_.write(golden("stop_accel_succeeded").payload()));
  EXPECT_TRUE(isReadable(test::kPatience));
  const auto notification = channel_->next(patient());
  ASSERT_TRUE(notification.ok()) << describe(notification.error());
  EXPECT_EQ(notification.value()->type, 0x1002u);
}

TEST_F(PushChannelTest, SaysThatTheServiceEndedTheConnection) {
  end_.disconnect();
  const auto next = channel_->next(patient());
  ASSERT_FALSE(next.ok());
  EXPECT_EQ(next.error().kind, ErrorKind::HungUp);
  EXPECT_NE(next.error().win32Code, 0u);
}

}  // namespace
}  // namespace orva_accelerator::client
