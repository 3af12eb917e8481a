// A connection on which the service announces outcomes.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "client/bytes.h"
#include "client/deadline.h"
#include "client/notification_assembler.h"
#include "client/notifications.h"
#include "client/pipe_opener.h"
#include "client/pipe_reader.h"
#include "client/result.h"
#include "ipc/wire/pipe_names.h"

namespace orva_accelerator::client {

// Not for use by several threads at once. Notifications wait in the pipe until Next takes them;
// the service gives up on a client that leaves its pipe full, so a client that registers must keep
// reading.
class PushChannel {
 public:
  // The longest message that is accepted: two texts that cannot be longer than the library's own
  // are far from it.
  static constexpr std::size_t kLongestMessage = std::size_t{64} * 1024 * 1024;

  static Endpoint defaultEndpoint() { return Endpoint{ipc::kPushPipeName}; }

  // Connects and announces the client id. The service does not acknowledge it and takes it on a
  // thread of its own: what is announced in the next moment may still miss this client. A heartbeat
  // request in between gives the service that moment. For `interrupt` see Next.
  static Result<PushChannel> registerPush(const Endpoint& endpoint, std::uint32_t clientId,
                                          const Deadline& deadline, HANDLE interrupt = nullptr);

  std::uint32_t clientId() const { return clientId_; }

  // Waits for the next notification, whoever it is for. `interrupt`, if not null, is a borrowed
  // event that ends the wait early.
  //
  // After Timeout and Interrupted the channel can be used again, and nothing is lost. After a
  // Protocol error without a Win32 code the message that fits nowhere is dropped and reading may go
  // on. Any other error is final. HungUp says whether the service itself has ended; where the
  // manager must be asked for that, it may take two more seconds, but no longer than `deadline`.
  Result<Notification> next(const Deadline& deadline, HANDLE interrupt = nullptr);

  // For a thread that waits for several things, such as a window's: signalled as long as Next has
  // something to give, an error included. Call Next with a deadline that has passed then, and again
  // until it says Timeout: it may need several messages for one notification, and there may be
  // several. Borrowed; neither to be set, reset nor closed, and valid as long as this channel.
  HANDLE readable() const noexcept { return reader_.readable(); }

 private:
  PushChannel(PipeReader reader, std::uint32_t clientId, std::wstring serviceName)
      : reader_(std::move(reader)), clientId_(clientId), serviceName_(std::move(serviceName)) {}

  Result<Done> readMessage(const Deadline& deadline, HANDLE interrupt);
  Error withReason(Error error, const Deadline& deadline, HANDLE interrupt) const;

  PipeReader reader_;
  std::uint32_t clientId_;
  std::wstring serviceName_;  // Empty when anybody may serve the pipe.
  NotificationAssembler assembler_;
  Bytes message_;            // What has been read of the current message.
  bool discarding_ = false;  // The rest of the current message is too long and is thrown away.
};

}  // namespace orva_accelerator::client
