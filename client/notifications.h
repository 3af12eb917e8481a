// What the service announces on the push pipe, decoded.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "client/bytes.h"
#include "client/result.h"
#include "ipc/wire/headers.h"

namespace orva_accelerator::client {

// The states that settle who owns the acceleration; every other number is progress.
enum AccelState : std::uint32_t {
  kStateAccelerating = 4,
  kStateEndedFirst = 5,
  kStateEndedLast = 7,
};

// NotifyStartAccel and NotifyStartAccelEx.
struct AccelResult {
  std::uint32_t value1 = 0;
  std::uint32_t value2 = 0;
  std::string text1;
  std::uint32_t value3 = 0;
  std::uint32_t value4 = 0;
  std::uint32_t state = 0;
  std::uint32_t value5 = 0;
  std::string text2;
  // A text of 65,536 bytes or more travels whole, but its length field wraps. How much of the
  // surplus belongs to which text cannot be told then: all of it is in text1.
  bool textLengthsWrapped = false;

  bool accelerating() const { return state == kStateAccelerating; }
  bool ended() const { return state >= kStateEndedFirst && state <= kStateEndedLast; }
};

// NotifyStopAccel.
struct StopResult {
  bool success = false;
  std::int32_t code = 0;
  std::string text;
};

// NotifyUserLogin.
struct LoginResult {
  std::int32_t code = 0;  // 0: logged in; anything else is the library's own.
  std::string text;
};

// A notification of a type that this library does not know: its payload as it came.
struct UnknownResult {
  Bytes payload;
};

using NotificationBody = std::variant<AccelResult, StopResult, LoginResult, UnknownResult>;

struct Notification {
  std::uint32_t clientId = 0;   // Whose request is answered; every client gets every notification.
  std::uint32_t type = 0;       // An ipc::NotificationType.
  std::uint32_t timestamp = 0;  // 100 ns ticks, wraps about every 429 s: for ordering only.
  NotificationBody body;
};

// A message that can be nothing but a header: 20 bytes with the push magic.
bool IsPushFrameHeader(ByteView message);

// Pure; checks every length against the bytes that are there.
Result<NotificationBody> DecodeNotificationBody(std::uint32_t type, ByteView payload);

}  // namespace orva_accelerator::client
