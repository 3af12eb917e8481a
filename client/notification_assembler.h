// Puts the messages of the push pipe together again.
//
// A notification arrives as two pipe messages, its header and its payload. The service does not
// serialise notifications against each other: of two that go out at once the messages may be mixed
// on one pipe (header A, header B, payload B, payload A is possible). Nothing in a payload says
// which header it belongs to, so a payload is given to the earliest header that waits for exactly
// that many bytes and whose type those bytes decode as. Two waiting headers of the same type and
// length cannot be told apart; their payloads are then taken in the order in which they come.
#pragma once

#include <cstddef>
#include <deque>

#include "client/bytes.h"
#include "client/notifications.h"
#include "client/result.h"
#include "ipc/wire/headers.h"

namespace orva_accelerator::client {

class NotificationAssembler {
 public:
  // Headers that may wait for their payload at the same time. The service writes from as many
  // threads as the library calls back on: a handful.
  static constexpr std::size_t kMostWaiting = 64;

  // Takes the next whole message. Gives a notification when this message completes one, null when
  // more is needed, and a protocol error for a message that fits nowhere; that message is dropped,
  // with the earliest header of its length if there is one, and the next ones can still be taken. A
  // header too many is an error as well, and takes the place of the earliest.
  Result<Notification> take(ByteView message);

  std::size_t waiting() const { return waiting_.size(); }

 private:
  Result<Notification> takeHeader(const ipc::PushFrameHeader& header);
  Result<Notification> takePayload(ByteView message);

  std::deque<ipc::PushFrameHeader> waiting_;
};

}  // namespace orva_accelerator::client
