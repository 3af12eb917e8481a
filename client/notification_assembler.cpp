#include "client/notification_assembler.h"

#include <optional>
#include <string>

namespace orva_accelerator::client {
namespace {

Error Misplaced(std::string text) {
  return Error{ErrorKind::Protocol, "read a notification", 0, std::move(text)};
}

}  // namespace

Result<Notification> NotificationAssembler::Take(ByteView message) {
  return IsPushFrameHeader(message) ? TakeHeader(*FrontRecord<ipc::PushFrameHeader>(message))
                                    : TakePayload(message);
}

Result<Notification> NotificationAssembler::TakeHeader(const ipc::PushFrameHeader& header) {
  if (header.payloadLength == 0) return DecodeNotification(header, {});
  if (waiting_.size() == kMostWaiting) {
    return Misplaced(std::to_string(kMostWaiting) + " headers came without their payloads");
  }
  waiting_.push_back(header);
  return Notification();
}

Result<Notification> NotificationAssembler::TakePayload(ByteView message) {
  std::optional<Error> mismatch;
  auto unserved = waiting_.end();
  for (auto it = waiting_.begin(); it != waiting_.end(); ++it) {
    if (it->payloadLength != message.size()) continue;
    auto notification = DecodeNotification(*it, message);
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
  return Misplaced("a message of " + std::to_string(message.size()) +
                   " bytes belongs to no header that came before it");
}

}  // namespace orva_accelerator::client
