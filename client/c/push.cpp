// Connections for notifications, and notifications that came another way.
#include <windows.h>

#include <optional>
#include <string>
#include <utility>

#include "client/c/boundary.h"
#include "client/c/endpoint.h"
#include "client/push_channel.h"

using namespace orva_accelerator::client;

struct orva_push {
  std::optional<PushChannel> channel;  // Nothing after an exception, which may have lost messages.
  HANDLE interrupt;                    // Borrowed; may be null.
};

namespace {

Result<Notification> Next(orva_push& push, const Deadline& deadline) {
  if (!push.channel) {
    return Error{ErrorKind::Usage, "read a notification", 0,
                 "the connection has been closed after an earlier error"};
  }
  try {
    return push.channel->Next(deadline, push.interrupt);
  } catch (...) {
    push.channel.reset();
    throw;
  }
}

Error Undecodable(std::string text) {
  return Error{ErrorKind::Protocol, "decode a notification", 0, std::move(text)};
}

}  // namespace

orva_code orva_push_register(const orva_endpoint* endpoint, uint32_t client_id, uint32_t timeout_ms,
                             orva_push** push, orva_error* error) {
  if (push != nullptr) *push = nullptr;
  const char* const function = __func__;
  return Guarded(
      function, error, {{static_cast<const void*>(push), "push"}}, [&]() -> Result<Done> {
        if (client_id == 0) return Misuse(function, "0 is no client id");
        auto where = EndpointOf(function, endpoint, PushChannel::DefaultEndpoint());
        if (!where) return where.error();
        auto channel = PushChannel::Register(
            where.value(), client_id, Deadline::After(TimeoutOf(timeout_ms)), CancelOf(endpoint));
        if (!channel) return channel.error();
        *push = new orva_push{std::move(channel.value()), CancelOf(endpoint)};
        return Done{};
      });
}

orva_code orva_push_next(orva_push* push, uint32_t timeout_ms, orva_notification** notification,
                         orva_error* error) {
  return GiveRecord(__func__, error, notification, {{push, "push"}},
                    [&] { return Next(*push, Deadline::After(TimeoutOf(timeout_ms))); });
}

void orva_push_close(orva_push* push) {
  delete push;
}

orva_code orva_notification_decode(const void* header, size_t header_length, const void* payload,
                                   size_t payload_length, orva_notification** notification,
                                   orva_error* error) {
  return GiveRecord(
      __func__, error, notification,
      {{header, "header"}, TextArgument(payload, payload_length, "payload")},
      [&]() -> Result<Notification> {
        const ByteView head(static_cast<const std::uint8_t*>(header), header_length);
        if (!IsPushFrameHeader(head)) return Undecodable("its header is not one of 20 bytes");
        const auto announced = *FrontRecord<orva_accelerator::ipc::PushFrameHeader>(head);
        if (announced.payloadLength != payload_length) {
          return Undecodable("its header announces " + std::to_string(announced.payloadLength) +
                             " bytes, not " + std::to_string(payload_length));
        }
        return DecodeNotification(
            announced, ByteView(static_cast<const std::uint8_t*>(payload), payload_length));
      });
}
