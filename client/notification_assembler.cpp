#include "client/notification_assembler.h"

#include <iterator>
#include <string>

#include "client/byte_reader.h"

namespace orva_accelerator::client {
namespace {

Error Misplaced(std::string text) {
  return Error{ErrorKind::Protocol, "read a notification", 0, std::move(text)};
}

Notification Assemble(const ipc::PushFrameHeader& header, NotificationBody body) {
  return Notification{header.clientId, header.type, header.timestamp, std::move(body)};
}

}  // namespace

Result<std::optional<Notification>> NotificationAssembler::Take(ByteView message) {
  return IsPushFrameHeader(message) ? TakeHeader(message) : TakePayload(message);
}

Result<std::optional<Notification>> NotificationAssembler::TakeHeader(ByteView message) {
  ipc::PushFrameHeader header{};
  (void)ByteReader(message).Take(header);  // The size has been checked.
  if (header.payloadLength == 0) {
    auto body = DecodeNotificationBody(header.type, {});
    if (!body) return body.error();
    return std::optional(Assemble(header, std::move(body.value())));
  }
  if (waiting_.size() == kMostWaiting) {
    return Misplaced(std::to_string(kMostWaiting) + " headers came without their payloads");
  }
  waiting_.push_back(header);
  return std::optional<Notification>();
}

Result<std::optional<Notification>> NotificationAssembler::TakePayload(ByteView message) {
  std::optional<Error> mismatch;
  auto unserved = waiting_.end();
  for (auto it = waiting_.begin(); it != waiting_.end(); ++it) {
    if (it->payloadLength != message.size()) continue;
    auto body = DecodeNotificationBody(it->type, message);
    if (!body) {
      if (unserved == waiting_.end()) unserved = it;
      if (!mismatch) mismatch = body.error();
      continue;
    }
    const ipc::PushFrameHeader header = *it;
    waiting_.erase(it);
    return std::optional(Assemble(header, std::move(body.value())));
  }
  if (mismatch) {
    // This was the payload of one of them. Kept, that header would take another one's payload.
    waiting_.erase(unserved);
    return *mismatch;
  }
  return Misplaced("a message of " + std::to_string(message.size()) +
                   " bytes belongs to no header that came before it");
}

}  // namespace orva_accelerator::client
