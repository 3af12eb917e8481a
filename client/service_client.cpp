#include "client/service_client.h"

#include "client/responses.h"
#include "client/wipe.h"
#include "ipc/wire/messages.h"

namespace orva_accelerator::client {
namespace {

// An answer of one field, which `take` takes out of its wire record.
template <ipc::MessageType Type, typename Take>
auto decode(const Result<Bytes>& answer, Take take)
    -> Result<decltype(take(typename ipc::MessageOf<Type>::Response{}))> {
  if (!answer) return answer.error();
  const auto record = decodeRecord<typename ipc::MessageOf<Type>::Response>(answer.value());
  if (!record) return record.error();
  return take(record.value());
}

template <ipc::MessageType Type>
Result<Done> acknowledged(const Result<Bytes>& answer) {
  return decode<Type>(answer, [](const auto&) { return Done{}; });
}

}  // namespace

Result<Bytes> ServiceClient::ask(std::uint32_t type, ByteView payload) {
  return channel_.exchange(type, clientId_, payload, Deadline::after(timeout_));
}

Result<Bytes> ServiceClient::askEncoded(std::uint32_t type, Result<Bytes> payload) {
  if (!payload) return payload.error();
  const WipeAtEnd wipe(payload.value());
  return ask(type, payload.value());
}

Result<std::int32_t> ServiceClient::Init(const InitRequest& request) {
  return decode<ipc::MsgSdkInit>(askEncoded(ipc::MsgSdkInit, encodeInit(request)),
                                 [](const auto& answer) { return answer.result; });
}

Result<Done> ServiceClient::login(const LoginRequest& request) {
  return acknowledged<ipc::MsgUserLogin>(askEncoded(ipc::MsgUserLogin, encodeLogin(request)));
}

Result<Done> ServiceClient::Release() {
  return acknowledged<ipc::MsgSdkRelease>(ask(ipc::MsgSdkRelease, {}));
}

Result<bool> ServiceClient::IsInitialised() {
  return decode<ipc::MsgSdkIsInitialised>(
      ask(ipc::MsgSdkIsInitialised, {}),
      [](const auto& answer) { return answer.initialised != 0; });
}

Result<bool> ServiceClient::start(const StartRequest& request) {
  return decode<ipc::MsgStartAccel>(askEncoded(ipc::MsgStartAccel, encodeStart(request)),
                                    [](const auto& answer) { return answer.accepted != 0; });
}

Result<bool> ServiceClient::startEx(const StartExRequest& request) {
  return decode<ipc::MsgStartAccelEx>(askEncoded(ipc::MsgStartAccelEx, encodeStartEx(request)),
                                      [](const auto& answer) { return answer.accepted != 0; });
}

Result<Done> ServiceClient::stop() {
  return acknowledged<ipc::MsgStopAccel>(ask(ipc::MsgStopAccel, {}));
}

Result<Answer<orva_speed_summary>> ServiceClient::getSpeedSummary(const SpeedRequest& request) {
  const auto answer = askEncoded(ipc::MsgGetTestSpeedData, encodeSpeed(request));
  if (!answer) return answer.error();
  return decodeAnswer<orva_speed_summary>(answer.value());
}

Result<Answer<orva_leave_outcome>> ServiceClient::leave() {
  return query<ipc::MsgClientLeaving>();
}

Result<std::uint32_t> ServiceClient::heartbeat() {
  return decode<ipc::MsgHeartbeat>(ask(ipc::MsgHeartbeat, {}),
                                   [](const auto& answer) { return answer.serviceClockMs; });
}

}  // namespace orva_accelerator::client
