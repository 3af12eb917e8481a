#include "client/c/notification.h"

#include "client/byte_reader.h"
#include "client/c/boundary.h"

using namespace orva_accelerator::client;

namespace {

// Null for a notification of another type.
template <typename Body>
const Body* BodyOf(const orva_notification* notification) {
  return notification == nullptr ? nullptr : std::get_if<Body>(&notification->value.body);
}

const std::string* TextIn(const orva_notification* notification, orva_text text) {
  if (const auto* accel = BodyOf<AccelResult>(notification)) {
    if (text == ORVA_TEXT_RESULT_TEXT1) return &accel->text1;
    return text == ORVA_TEXT_RESULT_TEXT2 ? &accel->text2 : nullptr;
  }
  if (text != ORVA_TEXT_RESULT_TEXT1) return nullptr;
  if (const auto* stop = BodyOf<StopResult>(notification)) return &stop->text;
  if (const auto* login = BodyOf<LoginResult>(notification)) return &login->text;
  return nullptr;
}

Result<Notification> Decode(ByteView headerBytes, ByteView payload) {
  orva_accelerator::ipc::PushFrameHeader header{};
  if (!IsPushFrameHeader(headerBytes) || !ByteReader(headerBytes).Take(header)) {
    return Error{ErrorKind::Protocol, "decode a notification", 0,
                 "its header is not 20 bytes that begin as one does"};
  }
  if (header.payloadLength != payload.size()) {
    return Error{ErrorKind::Protocol, "decode a notification", 0,
                 "its header announces " + std::to_string(header.payloadLength) + " bytes, not " +
                     std::to_string(payload.size())};
  }
  auto body = DecodeNotificationBody(header.type, payload);
  if (!body) return body.error();
  return Notification{header.clientId, header.type, header.timestamp, std::move(body.value())};
}

}  // namespace

orva_code orva_notification_decode(const void* header, size_t header_length, const void* payload,
                                   size_t payload_length, orva_notification** notification,
                                   orva_error* error) {
  if (notification != nullptr) *notification = nullptr;
  return Guarded(__func__, error,
                 {{header, "header"},
                  TextArgument(payload, payload_length, "payload"),
                  {notification, "notification"}},
                 [&] {
                   return DeliverObject(
                       Decode(ByteView(static_cast<const std::uint8_t*>(header), header_length),
                              ByteView(static_cast<const std::uint8_t*>(payload), payload_length)),
                       notification);
                 });
}

void orva_notification_free(orva_notification* notification) {
  delete notification;
}

orva_code orva_notification_get_head(const orva_notification* notification,
                                     orva_notification_head* head) {
  if (notification == nullptr || head == nullptr) return ORVA_ERROR_USAGE;
  const Notification& value = notification->value;
  *head = orva_notification_head{value.clientId, value.type, value.timestamp};
  return ORVA_OK;
}

orva_code orva_notification_get_accel_result(const orva_notification* notification,
                                             orva_accel_result* result) {
  const auto* accel = BodyOf<AccelResult>(notification);
  if (accel == nullptr || result == nullptr) return ORVA_ERROR_USAGE;
  *result = orva_accel_result{accel->value1,
                              accel->value2,
                              accel->value3,
                              accel->value4,
                              accel->value5,
                              accel->state,
                              accel->accelerating() ? 1 : 0,
                              accel->ended() ? 1 : 0,
                              accel->textLengthsWrapped ? 1 : 0};
  return ORVA_OK;
}

orva_code orva_notification_get_stop_result(const orva_notification* notification,
                                            orva_stop_result* result) {
  const auto* stop = BodyOf<StopResult>(notification);
  if (stop == nullptr || result == nullptr) return ORVA_ERROR_USAGE;
  *result = orva_stop_result{stop->success ? 1 : 0, stop->code};
  return ORVA_OK;
}

orva_code orva_notification_get_login_result(const orva_notification* notification, int32_t* code) {
  const auto* login = BodyOf<LoginResult>(notification);
  if (login == nullptr || code == nullptr) return ORVA_ERROR_USAGE;
  *code = login->code;
  return ORVA_OK;
}

const char* orva_notification_get_text(const orva_notification* notification, orva_text text,
                                       size_t* length) {
  return GiveText(TextIn(notification, text), length);
}

const uint8_t* orva_notification_get_payload(const orva_notification* notification,
                                             size_t* length) {
  const auto* unknown = BodyOf<UnknownResult>(notification);
  if (length != nullptr) *length = unknown == nullptr ? 0 : unknown->payload.size();
  if (unknown == nullptr) return nullptr;
  static constexpr uint8_t kNothing = 0;
  return unknown->payload.empty() ? &kNothing : unknown->payload.data();
}
