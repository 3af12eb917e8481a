#include "client/notifications.h"

#include "client/byte_reader.h"
#include "ipc/wire/message_types.h"
#include "ipc/wire/notifications.h"

namespace orva_accelerator::client {
namespace {

constexpr std::size_t kLengthModulus = 65536;

Error Malformed(std::uint32_t type, ByteView payload) {
  return Error{ErrorKind::Protocol, "decode a notification", 0,
               "the " + std::to_string(payload.size()) + " bytes of a notification of type " +
                   std::to_string(type) + " are not what its own lengths announce"};
}

Result<NotificationBody> DecodeAccelResult(std::uint32_t type, ByteView payload) {
  ByteReader reader(payload);
  ipc::AccelResultPayload wire{};
  if (!reader.Take(wire)) return Malformed(type, payload);
  const std::size_t announced = std::size_t{wire.text1Length} + wire.text2Length;
  if (reader.remaining() < announced) return Malformed(type, payload);
  const std::size_t surplus = reader.remaining() - announced;
  if (surplus % kLengthModulus != 0) return Malformed(type, payload);
  AccelResult result;
  if (!reader.TakeText(wire.text1Length + surplus, result.text1) ||
      !reader.TakeText(wire.text2Length, result.text2)) {
    return Malformed(type, payload);
  }
  result.value1 = wire.value1;
  result.value2 = wire.value2;
  result.value3 = wire.value3;
  result.value4 = wire.value4;
  result.state = wire.state;
  result.value5 = wire.value5;
  result.textLengthsWrapped = surplus != 0;
  return NotificationBody(std::move(result));
}

Result<NotificationBody> DecodeStopResult(std::uint32_t type, ByteView payload) {
  ByteReader reader(payload);
  ipc::StopResultPayload wire{};
  StopResult result;
  if (!reader.Take(wire) || !reader.TakeText(wire.textLength, result.text) ||
      reader.remaining() != 0) {
    return Malformed(type, payload);
  }
  result.success = wire.success != 0;
  result.code = wire.code;
  return NotificationBody(std::move(result));
}

Result<NotificationBody> DecodeLoginResult(std::uint32_t type, ByteView payload) {
  ByteReader reader(payload);
  ipc::LoginResultPayload wire{};
  LoginResult result;
  if (!reader.Take(wire) || !reader.TakeText(wire.textLength, result.text) ||
      reader.remaining() != 0) {
    return Malformed(type, payload);
  }
  result.code = wire.code;
  return NotificationBody(std::move(result));
}

}  // namespace

bool IsPushFrameHeader(ByteView message) {
  ipc::PushFrameHeader header{};
  return message.size() == sizeof(header) && ByteReader(message).Take(header) &&
         header.magic == ipc::kPushMagic;
}

Result<NotificationBody> DecodeNotificationBody(std::uint32_t type, ByteView payload) {
  switch (type) {
    case ipc::NotifyStartAccel:
    case ipc::NotifyStartAccelEx:
      return DecodeAccelResult(type, payload);
    case ipc::NotifyStopAccel:
      return DecodeStopResult(type, payload);
    case ipc::NotifyUserLogin:
      return DecodeLoginResult(type, payload);
    default:
      return NotificationBody(UnknownResult{Bytes(payload.begin(), payload.end())});
  }
}

}  // namespace orva_accelerator::client
