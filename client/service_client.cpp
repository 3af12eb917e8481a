#include "client/service_client.h"

#include "ipc/wire/message_types.h"

namespace orva_accelerator::client {
namespace {

template <typename Decoded>
Result<Decoded> Decode(const Result<Bytes>& answer, Result<Decoded> (*decoder)(ByteView)) {
  if (!answer) return answer.error();
  return decoder(answer.value());
}

template <typename Decoded>
Result<Done> WithoutValue(const Result<Decoded>& decoded) {
  if (!decoded) return decoded.error();
  return Done{};
}

}  // namespace

Result<Bytes> ServiceClient::Ask(std::uint32_t type, ByteView payload) {
  return channel_.Exchange(type, clientId_, payload, Deadline::After(timeout_));
}

Result<std::int32_t> ServiceClient::Init(const InitRequest& request) {
  auto payload = EncodeInit(request);
  if (!payload) return payload.error();
  return Decode(Ask(ipc::MsgSdkInit, payload.value()), DecodeInit);
}

Result<Done> ServiceClient::Login(const LoginRequest& request) {
  auto payload = EncodeLogin(request);
  if (!payload) return payload.error();
  return WithoutValue(Decode(Ask(ipc::MsgUserLogin, payload.value()), DecodeAcknowledgement));
}

Result<Done> ServiceClient::Release() {
  return WithoutValue(Decode(Ask(ipc::MsgSdkRelease, {}), DecodeAcknowledgement));
}

Result<bool> ServiceClient::IsInitialised() {
  return Decode(Ask(ipc::MsgSdkIsInitialised, {}), DecodeFlag);
}

Result<bool> ServiceClient::Start(const StartRequest& request) {
  auto payload = EncodeStart(request);
  if (!payload) return payload.error();
  return Decode(Ask(ipc::MsgStartAccel, payload.value()), DecodeFlag);
}

Result<bool> ServiceClient::StartEx(const StartExRequest& request) {
  auto payload = EncodeStartEx(request);
  if (!payload) return payload.error();
  return Decode(Ask(ipc::MsgStartAccelEx, payload.value()), DecodeFlag);
}

Result<Done> ServiceClient::Stop() {
  return WithoutValue(Decode(Ask(ipc::MsgStopAccel, {}), DecodeFlag));
}

Result<AccelOwner> ServiceClient::QueryOwner() {
  return Decode(Ask(ipc::MsgQueryAccelOwner, {}), DecodeAccelOwner);
}

Result<AccelData> ServiceClient::GetAccelData() {
  return Decode(Ask(ipc::MsgGetAccelData, {}), DecodeAccelData);
}

Result<ConsoleData> ServiceClient::GetConsoleData() {
  return Decode(Ask(ipc::MsgGetConsoleData, {}), DecodeConsoleData);
}

Result<LastAccelInfo> ServiceClient::GetLastAccelInfo(std::uint32_t gameId) {
  return Decode(Ask(ipc::MsgGetGameLastAccelInfo, EncodeGame(gameId)), DecodeLastAccelInfo);
}

Result<SpeedSummary> ServiceClient::GetSpeedSummary(const SpeedRequest& request) {
  auto payload = EncodeSpeed(request);
  if (!payload) return payload.error();
  return Decode(Ask(ipc::MsgGetTestSpeedData, payload.value()), DecodeSpeedSummary);
}

Result<GameInfo> ServiceClient::GetGameInfo(std::uint32_t gameId) {
  return Decode(Ask(ipc::MsgGetGameAccelInfo, EncodeGame(gameId)), DecodeGameInfo);
}

Result<UsedNodeList> ServiceClient::GetUsedNodes(std::uint32_t gameId) {
  return Decode(Ask(ipc::MsgGetGameUsedNodeList, EncodeGame(gameId)), DecodeUsedNodes);
}

Result<LeaveOutcome> ServiceClient::Leave() {
  return Decode(Ask(ipc::MsgClientLeaving, {}), DecodeLeave);
}

Result<std::uint32_t> ServiceClient::Heartbeat() {
  return Decode(Ask(ipc::MsgHeartbeat, {}), DecodeHeartbeat);
}

}  // namespace orva_accelerator::client
