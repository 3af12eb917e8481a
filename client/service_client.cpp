#include "client/service_client.h"

#include "client/responses.h"
#include "client/wipe.h"
#include "ipc/wire/message_types.h"

namespace orva_accelerator::client {
namespace {

// An answer of one field, which `take` takes out of its wire record.
template <ipc::MessageType type, typename Take>
auto Decode(const Result<Bytes>& answer, Take take)
    -> Result<decltype(take(typename ipc::MessageOf<type>::Response{}))> {
  if (!answer) return answer.error();
  const auto record = DecodeRecord<typename ipc::MessageOf<type>::Response>(answer.value());
  if (!record) return record.error();
  return take(record.value());
}

template <ipc::MessageType type>
Result<Done> Acknowledged(const Result<Bytes>& answer) {
  return Decode<type>(answer, [](const auto&) { return Done{}; });
}

template <typename Record>
Result<Answer<Record>> Decode(const Result<Bytes>& answer) {
  if (!answer) return answer.error();
  return DecodeAnswer<Record>(answer.value());
}

}  // namespace

Result<Bytes> ServiceClient::Ask(std::uint32_t type, ByteView payload) {
  return channel_.Exchange(type, clientId_, payload, Deadline::After(timeout_));
}

Result<Bytes> ServiceClient::AskEncoded(std::uint32_t type, Result<Bytes> payload) {
  if (!payload) return payload.error();
  const WipeAtEnd wipe(payload.value());
  return Ask(type, payload.value());
}

Result<std::int32_t> ServiceClient::Init(const InitRequest& request) {
  return Decode<ipc::MsgSdkInit>(AskEncoded(ipc::MsgSdkInit, EncodeInit(request)),
                                 [](const auto& answer) { return answer.result; });
}

Result<Done> ServiceClient::Login(const LoginRequest& request) {
  return Acknowledged<ipc::MsgUserLogin>(AskEncoded(ipc::MsgUserLogin, EncodeLogin(request)));
}

Result<Done> ServiceClient::Release() {
  return Acknowledged<ipc::MsgSdkRelease>(Ask(ipc::MsgSdkRelease, {}));
}

Result<bool> ServiceClient::IsInitialised() {
  return Decode<ipc::MsgSdkIsInitialised>(
      Ask(ipc::MsgSdkIsInitialised, {}),
      [](const auto& answer) { return answer.initialised != 0; });
}

Result<bool> ServiceClient::Start(const StartRequest& request) {
  return Decode<ipc::MsgStartAccel>(AskEncoded(ipc::MsgStartAccel, EncodeStart(request)),
                                    [](const auto& answer) { return answer.accepted != 0; });
}

Result<bool> ServiceClient::StartEx(const StartExRequest& request) {
  return Decode<ipc::MsgStartAccelEx>(AskEncoded(ipc::MsgStartAccelEx, EncodeStartEx(request)),
                                      [](const auto& answer) { return answer.accepted != 0; });
}

Result<Done> ServiceClient::Stop() {
  return Acknowledged<ipc::MsgStopAccel>(Ask(ipc::MsgStopAccel, {}));
}

Result<Answer<orva_owner>> ServiceClient::QueryOwner() {
  return Decode<orva_owner>(Ask(ipc::MsgQueryAccelOwner, {}));
}

Result<Answer<orva_accel_data>> ServiceClient::GetAccelData() {
  return Decode<orva_accel_data>(Ask(ipc::MsgGetAccelData, {}));
}

Result<Answer<orva_console_data>> ServiceClient::GetConsoleData() {
  return Decode<orva_console_data>(Ask(ipc::MsgGetConsoleData, {}));
}

Result<Answer<orva_last_accel_info>> ServiceClient::GetLastAccelInfo(std::uint32_t gameId) {
  return Decode<orva_last_accel_info>(Ask(ipc::MsgGetGameLastAccelInfo, BytesOf(gameId)));
}

Result<Answer<orva_speed_summary>> ServiceClient::GetSpeedSummary(const SpeedRequest& request) {
  return Decode<orva_speed_summary>(AskEncoded(ipc::MsgGetTestSpeedData, EncodeSpeed(request)));
}

Result<Answer<orva_game_info>> ServiceClient::GetGameInfo(std::uint32_t gameId) {
  return Decode<orva_game_info>(Ask(ipc::MsgGetGameAccelInfo, BytesOf(gameId)));
}

Result<Answer<orva_used_nodes>> ServiceClient::GetUsedNodes(std::uint32_t gameId) {
  return Decode<orva_used_nodes>(Ask(ipc::MsgGetGameUsedNodeList, BytesOf(gameId)));
}

Result<Answer<orva_leave_outcome>> ServiceClient::Leave() {
  return Decode<orva_leave_outcome>(Ask(ipc::MsgClientLeaving, {}));
}

Result<std::uint32_t> ServiceClient::Heartbeat() {
  return Decode<ipc::MsgHeartbeat>(Ask(ipc::MsgHeartbeat, {}),
                                   [](const auto& answer) { return answer.serviceClockMs; });
}

}  // namespace orva_accelerator::client
