#include "client/notification_assembler.h"

#include <gtest/gtest.h>

#include <string>

#include "ipc/wire/notifications.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::client {
namespace {

using test::GoldenVector;

const GoldenVector& golden(const char* name) {
  return test::goldenVector("notifications.json", name);
}

// The message completes nothing.
void expectWaits(NotificationAssembler& assembler, ByteView message) {
  const auto taken = assembler.take(message);
  ASSERT_TRUE(taken.ok());
  EXPECT_EQ(taken.value(), nullptr);
}

Notification take(NotificationAssembler& assembler, ByteView message) {
  auto taken = assembler.take(message);
  return taken ? std::move(taken.value()) : nullptr;
}

ErrorKind failure(NotificationAssembler& assembler, ByteView message) {
  const auto taken = assembler.take(message);
  return taken ? ErrorKind::System : taken.error().kind;
}

TEST(NotificationAssembler, JoinsAHeaderWithItsPayload) {
  for (const GoldenVector& vector : test::goldenVectors("notifications.json")) {
    SCOPED_TRACE(vector.name);
    NotificationAssembler assembler;
    expectWaits(assembler, vector.header());
    const auto notification = take(assembler, vector.payload());
    ASSERT_NE(notification, nullptr);
    EXPECT_EQ(notification->type, vector.type);
    EXPECT_EQ(notification->client_id, vector.number<std::uint32_t>("clientId"));
    EXPECT_EQ(assembler.waiting(), 0u);
  }
}

TEST(NotificationAssembler, TellsInterleavedNotificationsApart) {
  const GoldenVector& start = golden("start_accel_accelerating");
  const GoldenVector& stop = golden("stop_accel_succeeded");
  NotificationAssembler assembler;
  expectWaits(assembler, start.header());
  expectWaits(assembler, stop.header());
  const auto first = take(assembler, stop.payload());
  ASSERT_NE(first, nullptr);
  ASSERT_NE(first->stop, nullptr);
  EXPECT_STREQ(first->stop->text.bytes, "Acceleration stopped successfully");
  const auto second = take(assembler, start.payload());
  ASSERT_NE(second, nullptr);
  ASSERT_NE(second->accel, nullptr);
  EXPECT_EQ(second->accel->state, 4u);
}

TEST(NotificationAssembler, TellsTypesOfEqualLengthApartByWhatDecodes) {
  // 45 bytes each: a stop result with 33 bytes of text and a login result with 37.
  const GoldenVector& stop = golden("stop_accel_succeeded");
  Bytes loginHeader(golden("user_login_refused").header().begin(),
                    golden("user_login_refused").header().end());
  loginHeader[12] = 45;
  Bytes loginPayload{1, 0, 0, 0, 37, 0, 0, 0};
  loginPayload.insert(loginPayload.end(), 37, 'x');
  NotificationAssembler assembler;
  expectWaits(assembler, stop.header());
  expectWaits(assembler, loginHeader);
  const auto first = take(assembler, loginPayload);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->type, std::uint32_t{ipc::NotifyUserLogin});
  const auto second = take(assembler, stop.payload());
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->type, std::uint32_t{ipc::NotifyStopAccel});
}

TEST(NotificationAssembler, GivesEqualNotificationsTheirPayloadsInOrder) {
  const GoldenVector& refused = golden("user_login_refused");
  Bytes other(refused.header().begin(), refused.header().end());
  other[4] = 9;
  NotificationAssembler assembler;
  expectWaits(assembler, refused.header());
  expectWaits(assembler, other);
  EXPECT_EQ(take(assembler, refused.payload())->client_id, 7u);
  EXPECT_EQ(take(assembler, refused.payload())->client_id, 9u);
}

TEST(NotificationAssembler, RejectsAPayloadThatNobodyWaitsForAndGoesOn) {
  const GoldenVector& stop = golden("stop_accel_succeeded");
  NotificationAssembler assembler;
  EXPECT_EQ(failure(assembler, stop.payload()), ErrorKind::Protocol);
  EXPECT_EQ(failure(assembler, Bytes()), ErrorKind::Protocol);
  expectWaits(assembler, stop.header());
  EXPECT_EQ(failure(assembler, Bytes(44, 0)), ErrorKind::Protocol);
  EXPECT_NE(take(assembler, stop.payload()), nullptr);
}

TEST(NotificationAssembler, RejectsAPayloadOfTheRightLengthThatDoesNotDecode) {
  const GoldenVector& stop = golden("stop_accel_succeeded");
  Bytes lying(stop.payload().begin(), stop.payload().end());
  lying[8] = 34;
  NotificationAssembler assembler;
  expectWaits(assembler, stop.header());
  EXPECT_EQ(failure(assembler, lying), ErrorKind::Protocol);
}

TEST(NotificationAssembler, TakesAHeaderWithoutPayloadForWhole) {
  Bytes header(20, 0);
  const Bytes magic{'P', 'K', 'X', 'R'};
  std::copy(magic.begin(), magic.end(), header.begin());
  header[8] = 4;
  header[9] = 0x10;  // A type that nobody knows yet.
  NotificationAssembler assembler;
  const auto notification = take(assembler, header);
  ASSERT_NE(notification, nullptr);
  EXPECT_EQ(notification->type, 0x1004u);
  header[8] = 2;  // A stop result cannot be empty.
  EXPECT_EQ(failure(assembler, header), ErrorKind::Protocol);
}

TEST(NotificationAssembler, LimitsTheHeadersThatWait) {
  const GoldenVector& stop = golden("stop_accel_succeeded");
  NotificationAssembler assembler;
  for (std::size_t i = 0; i < NotificationAssembler::kMostWaiting; ++i) {
    expectWaits(assembler, stop.header());
  }
  // Payloads that never come keep no later notification from being put together.
  const GoldenVector& login = golden("user_login_succeeded");
  EXPECT_EQ(failure(assembler, login.header()), ErrorKind::Protocol);
  EXPECT_EQ(assembler.waiting(), NotificationAssembler::kMostWaiting);
  const auto notification = take(assembler, login.payload());
  ASSERT_NE(notification, nullptr);
  EXPECT_EQ(notification->type, 0x1003u);
  expectWaits(assembler, stop.header());
}

}  // namespace
}  // namespace orva_accelerator::client
