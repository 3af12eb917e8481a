#include "client/notifications.h"

#include <string>

#include "client/responses.h"
#include "ipc/wire/notifications.h"

namespace orva_accelerator::client {
namespace {

constexpr std::size_t kLengthModulus = 65536;

// The states that settle who owns the acceleration; every other number is progress.
constexpr std::uint32_t kAccelerating = 4;
constexpr std::uint32_t kEndedFirst = 5;
constexpr std::uint32_t kEndedLast = 7;

Error malformed(const ipc::PushFrameHeader& header, ByteView payload) {
  return Error{ErrorKind::Protocol, "decode a notification", 0,
               "the " + std::to_string(payload.size()) + " bytes of a notification of type " +
                   std::to_string(header.type) + " are not what its own lengths announce"};
}

orva_notification headOf(const ipc::PushFrameHeader& header) {
  orva_notification head{};
  head.client_id = header.clientId;
  head.type = header.type;
  head.timestamp = header.timestamp;
  return head;
}

// What does not travel but follows from what does.
void complete(orva_accel_result& result) {
  result.accelerating = result.state == kAccelerating ? 1 : 0;
  result.ended = result.state >= kEndedFirst && result.state <= kEndedLast ? 1 : 0;
}
void complete(orva_stop_result& /*result*/) {}
void complete(orva_login_result& result) {
  result.success = result.code == 0 ? 1 : 0;
}

// How many bytes of a start's texts their 16-bit lengths do not announce.
std::size_t surplusOf(ByteView payload) {
  constexpr std::size_t kFixed = sizeof(ipc::AccelResultPayload);
  if (payload.size() < kFixed) return 0;
  const std::size_t announced = textBytesBefore<orva_accel_result>(payload, kFixed);
  const std::size_t there = payload.size() - kFixed;
  return there < announced ? 0 : (there - announced) / kLengthModulus * kLengthModulus;
}

template <typename Body>
Result<Notification> decode(const ipc::PushFrameHeader& header, ByteView payload,
                            const Body* orva_notification::* member, std::size_t surplus = 0) {
  AnswerBlock block(sizeof(orva_notification) + sizeof(Body), countTexts<Body>(), payload.size());
  auto* const notification = block.make<orva_notification>();
  Body* const body = block.make<Body>();
  ByteView rest = payload;
  if (!fillRecord(block, *body, rest, surplus) || !rest.empty()) return malformed(header, payload);
  complete(*body);
  *notification = headOf(header);
  notification->*member = body;
  if constexpr (std::is_same_v<Body, orva_accel_result>) body->text_lengths_wrapped = surplus != 0;
  return block.Release(notification);
}

Notification unknown(const ipc::PushFrameHeader& header, ByteView payload) {
  AnswerBlock block(sizeof(orva_notification), 1, payload.size());
  auto* const notification = block.make<orva_notification>();
  *notification = headOf(header);
  notification->payload = reinterpret_cast<const std::uint8_t*>(block.text(payload).bytes);
  notification->payload_length = payload.size();
  return block.Release(notification);
}

}  // namespace

std::optional<ipc::PushFrameHeader> pushFrameHeader(ByteView message) {
  const auto header = frontRecord<ipc::PushFrameHeader>(message);
  if (!header || message.size() != sizeof(*header) || header->magic != ipc::kPushMagic) {
    return std::nullopt;
  }
  return header;
}

Result<Notification> decodeNotification(const ipc::PushFrameHeader& header, ByteView payload) {
  switch (header.type) {
    case ipc::NotifyStartAccel:
    case ipc::NotifyStartAccelEx:
      return decode(header, payload, &orva_notification::accel, surplusOf(payload));
    case ipc::NotifyStopAccel:
      return decode(header, payload, &orva_notification::stop);
    case ipc::NotifyUserLogin:
      return decode(header, payload, &orva_notification::login);
    default:
      return unknown(header, payload);
  }
}

}  // namespace orva_accelerator::client
