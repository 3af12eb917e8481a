#include "client/notification_assembler.h"

#include <optional>
#include <string>

namespace orva_accelerator::client {
namespace {

Error misplaced(std::string text) {
  return Error{ErrorKind::Protocol, "read a notification", 0, std::move(text)};
}

}  // namespace

Result<Notification> NotificationAssembler::take(ByteView message) {
  const auto header = pushFrameHeader(message);
  return header ? takeHeader(*header) : takePayload(message);
}

Result<Notification> NotificationAssembler::takeHeader(const ipc::PushFrameHeader& header) {
  if (header.payloadLength == 0) return decodeNotification(header, {});
  const bool full = waiting_.size() == kMostWaiting;
  if (full) waiting_.pop_front();
  waiting_.push_back(header);
  if (!full) return Notification();
  return misplaced(std::to_string(kMostWaiting) + " headers came without their payloads");
}

Result<Notification> NotificationAssembler::takePayload(ByteView message) {
  std::optional<Error> mismatch;
  auto unserved = waiting_.end();
  for (auto it = waiting_.begin(); it != waiting_.end(); ++it) {
    if (it->payloadLength != message.size()) continue;
    auto notification = decodeNotification(*it, message);
    if (notification) {
      waiting_.erase(it);
      return notification;
    }
    if (unserved == waiting_.end()) unserved = it;
    if (!mismatch) mismatch = notification.error();
  }
  if (mismatch) {
    // This was the payload of one of them. Kept, that header would take another one's payload.
    waiting_.erase(unserved);
    return *mismatch;
  }
  return misplaced("a message of " + std::to_string(message.size()) +
                   " bytes belongs to no header that came before it");
}

}  // namespace orva_accelerator::client
