// Connections for notifications, and notifications that came another way.
#include <string>
#include <utility>

#include "client/c/boundary.h"
#include "client/c/connection.h"
#include "client/c/endpoint.h"

using namespace orva_accelerator::client;

namespace {

Error undecodable(std::string text) {
  return Error{ErrorKind::Protocol, "decode a notification", 0, std::move(text)};
}

}  // namespace

orva_code orva_push_register(const orva_endpoint* endpoint, uint32_t client_id, uint32_t timeout_ms,
                             orva_push** push, orva_error* error) {
  if (push != nullptr) *push = nullptr;
  const char* const function = __func__;
  return guarded(
      function, error, {{static_cast<const void*>(push), "push"}}, [&]() -> Result<Done> {
        if (client_id == 0) return misuse(function, "0 is no client id");
        auto where = endpointOf(function, endpoint, PushChannel::defaultEndpoint());
        if (!where) return where.error();
        auto channel = PushChannel::registerPush(
            where.value(), client_id, Deadline::after(timeoutOf(timeout_ms)), cancelOf(endpoint));
        if (!channel) return channel.error();
        *push = new orva_push(std::move(channel.value()), cancelOf(endpoint));
        return Done{};
      });
}

orva_code orva_push_next(orva_push* push, uint32_t timeout_ms, orva_notification** notification,
                         orva_error* error) {
  return giveRecord(__func__, error, notification, {{push, "push"}}, [&] {
    return push->listen([&](PushChannel& channel) {
      return channel.next(Deadline::after(timeoutOf(timeout_ms)), push->interrupt);
    });
  });
}

void* orva_push_readable(const orva_push* push) {
  return push == nullptr ? nullptr : push->channel.readable();
}

void orva_push_close(orva_push* push) {
  delete push;
}

orva_code orva_notification_decode(const void* header, size_t header_length, const void* payload,
                                   size_t payload_length, orva_notification** notification,
                                   orva_error* error) {
  return giveRecord(
      __func__, error, notification,
      {{header, "header"}, textArgument(payload, payload_length, "payload")},
      [&]() -> Result<Notification> {
        const ByteView head(static_cast<const std::uint8_t*>(header), header_length);
        const auto announced = pushFrameHeader(head);
        if (!announced) return undecodable("its header is not one of 20 bytes");
        if (announced->payloadLength != payload_length) {
          return undecodable("its header announces " + std::to_string(announced->payloadLength) +
                             " bytes, not " + std::to_string(payload_length));
        }
        return decodeNotification(
            *announced, ByteView(static_cast<const std::uint8_t*>(payload), payload_length));
      });
}
