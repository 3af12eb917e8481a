#include "client/service_client.h"

#include "client/responses.h"
#include "client/wipe.h"
#include "ipc/wire/message_types.h"

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

template <typename Record>
Result<Answer<Record>> decode(const Result<Bytes>& answer) {
  if (!answer) return answer.error();
  return decodeAnswer<Record>(answer.value());
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

Result<Answer<orva_owner>> ServiceClient::queryOwner() {
  return decode<orva_owner>(ask(ipc::MsgQueryAccelOwner, {}));
}

Result<Answer<orva_accel_data>> ServiceClient::GetAccelData() {
  return decode<orva_accel_data>(ask(ipc::MsgGetAccelData, {}));
}

Result<Answer<orva_console_data>> ServiceClient::GetConsoleData() {
  return decode<orva_console_data>(ask(ipc::MsgGetConsoleData, {}));
}

Result<Answer<orva_last_accel_info>> ServiceClient::getLastAccelInfo(std::uint32_t gameId) {
  return decode<orva_last_accel_info>(ask(ipc::MsgGetGameLastAccelInfo, bytesOf(gameId)));
}

Result<Answer<orva_speed_summary>> ServiceClient::getSpeedSummary(const SpeedRequest& request) {
  return decode<orva_speed_summary>(askEncoded(ipc::MsgGetTestSpeedData, encodeSpeed(request)));
}

Result<Answer<orva_game_info>> ServiceClient::getGameInfo(std::uint32_t gameId) {
  return decode<orva_game_info>(ask(ipc::MsgGetGameAccelInfo, bytesOf(gameId)));
}

Result<Answer<orva_used_nodes>> ServiceClient::getUsedNodes(std::uint32_t gameId) {
  return decode<orva_used_nodes>(ask(ipc::MsgGetGameUsedNodeList, bytesOf(gameId)));
}

Result<Answer<orva_leave_outcome>> ServiceClient::leave() {
  return decode<orva_leave_outcome>(ask(ipc::MsgClientLeaving, {}));
}

Result<std::uint32_t> ServiceClient::heartbeat() {
  return decode<ipc::MsgHeartbeat>(ask(ipc::MsgHeartbeat, {}),
                                   [](const auto& answer) { return answer.serviceClockMs; });
}

}  // namespace orva_accelerator::client
