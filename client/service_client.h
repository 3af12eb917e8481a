// Every question that the service answers, as a function.
#pragma once

#include <chrono>
#include <cstdint>
#include <utility>

#include "client/answer.h"
#include "client/request_channel.h"
#include "client/requests.h"
#include "client/responses.h"
#include "client/result.h"
#include "ipc/wire/messages.h"

namespace orva_accelerator::client {

// The record of an answer that AnswerFields describes.
template <ipc::MessageType Type>
using AnswerTo = typename FlatOf<typename ipc::MessageOf<Type>::Response>::Type;

// Speaks for one client id over a channel of its own. Each call has the whole of `timeout`. See
// RequestChannel for what an error means for the channel; an answer that does not decode and a
// request that cannot be encoded leave it usable.
//
// Refused is never made up from the content of an answer: a start that was turned down is a value.
class ServiceClient {
 public:
  ServiceClient(RequestChannel channel, std::uint32_t clientId, std::chrono::milliseconds timeout)
      : channel_(std::move(channel)), clientId_(clientId), timeout_(timeout) {}

  std::uint32_t clientId() const { return clientId_; }
  bool usable() const { return channel_.usable(); }
  // For the calls from now on.
  void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }

  // 1: initialised (also when it already was); -1: the library could not be loaded; -2: it lacks a
  // function.
  Result<std::int32_t> Init(const InitRequest& request);
  // Taken, no more: the outcome of a login that the library accepts is announced on the push pipe.
  Result<Done> login(const LoginRequest& request);
  Result<Done> Release();
  Result<bool> IsInitialised();
  // True: accepted, or a start of this client is under way already. The outcome is announced.
  Result<bool> start(const StartRequest& request);
  // The same, after stopping whatever runs.
  Result<bool> startEx(const StartExRequest& request);
  // Taken, no more: the outcome is announced. Any client may stop what any other started.
  Result<Done> stop();
  // A question without texts: query<ipc::MsgGetAccelData>(),
  // query<ipc::MsgGetGameAccelInfo>({1001}).
  template <ipc::MessageType Type>
  Result<Answer<AnswerTo<Type>>> query(const typename ipc::MessageOf<Type>::Request& fixed = {}) {
    static_assert(ipc::kTextLengths<typename ipc::MessageOf<Type>::Request>.empty());
    const auto size = ipc::kRecordSize<typename ipc::MessageOf<Type>::Request>;
    const auto answer = ask(Type, bytesOf(fixed).first(size));
    if (!answer) return answer.error();
    return decodeAnswer<AnswerTo<Type>>(answer.value());
  }
  Result<Answer<orva_speed_summary>> getSpeedSummary(const SpeedRequest& request);
  // Ends this client's acceleration and its push connection; the last client to leave ends the
  // service.
  Result<Answer<orva_leave_outcome>> leave();
  // The low 32 bits of the service's millisecond clock.
  Result<std::uint32_t> heartbeat();

  // Any request: the payload of the answer as it came.
  Result<Bytes> ask(std::uint32_t type, ByteView payload);

 private:
  Result<Bytes> askEncoded(std::uint32_t type, Result<Bytes> payload);

  RequestChannel channel_;
  std::uint32_t clientId_;
  std::chrono::milliseconds timeout_;
};

}  // namespace orva_accelerator::client
