// A connection on which the service is asked, one question after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "client/bytes.h"
#include "client/deadline.h"
#include "client/message_pipe.h"
#include "client/pipe_opener.h"
#include "client/result.h"
#include "ipc/wire/pipe_names.h"

namespace orva_accelerator::client {

// Not for use by several threads at once; several channels are independent of each other.
class RequestChannel {
 public:
  // The longest response that is accepted; one that announces more is a protocol error. No real
  // answer comes near it. Memory is taken as bytes arrive, never because a header announces them.
  static constexpr std::size_t kLongestResponse = std::size_t{64} * 1024 * 1024;

  static Endpoint defaultEndpoint() { return Endpoint{ipc::kRequestPipeName}; }

  // `interrupt`, if not null, is a borrowed event that ends the waiting of this call and of every
  // Exchange early, with ErrorKind::Interrupted.
  static Result<RequestChannel> open(const Endpoint& endpoint, const Deadline& deadline,
                                     HANDLE interrupt = nullptr);

  // Sends one request and gives the payload of its response, empty if it has none. Writing and
  // reading share the one deadline.
  //
  // Any error but Usage leaves the channel unusable and closes it: an answer that is still on its
  // way would be taken for the answer to the next question. Open another one then. No copy of the
  // payload is left behind in memory.
  Result<Bytes> exchange(std::uint32_t type, std::uint32_t clientId, ByteView payload,
                         const Deadline& deadline);

  bool usable() const { return pipe_.has_value(); }

 private:
  RequestChannel(MessagePipe pipe, HANDLE interrupt)
      : pipe_(std::move(pipe)), interrupt_(interrupt) {}

  std::optional<MessagePipe> pipe_;
  HANDLE interrupt_;
};

}  // namespace orva_accelerator::client
