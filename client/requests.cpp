#include "client/requests.h"

#include <limits>

#include "ipc/wire/headers.h"

namespace orva_accelerator::client {
namespace {

Error cannotEncode(std::string text) {
  return Error{ErrorKind::Usage, "encode the request", 0, std::move(text)};
}

ipc::StartAccelRequest fixedPart(const StartRequest& request) {
  ipc::StartAccelRequest fixed{};
  fixed.startArg1 = request.startArg1;
  fixed.startArg2 = request.startArg2;
  fixed.startArg3 = request.startArg3;
  return fixed;
}

}  // namespace

Result<Bytes> encodePayload(ByteView fixed, std::span<const std::size_t> lengthOffsets,
                            std::span<const std::string_view> texts) {
  std::size_t size = fixed.size();
  for (std::size_t i = 0; i < texts.size(); ++i) {
    size += texts[i].size();
    if (texts[i].size() <= ipc::kLongestText) continue;
    return cannotEncode("its text " + std::to_string(i + 1) + " has " +
                        std::to_string(texts[i].size()) +
                        " bytes, more than the 65535 that a request can carry");
  }
  Bytes payload;
  payload.reserve(size);
  append(payload, fixed);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const auto length = static_cast<std::uint16_t>(texts[i].size());
    std::memcpy(payload.data() + lengthOffsets[i], &length, sizeof(length));
    payload.insert(payload.end(), texts[i].begin(), texts[i].end());
  }
  return payload;
}

Result<Bytes> encodeInit(const InitRequest& request) {
  return encodeRequest<ipc::MsgSdkInit>({request.channelId, request.channelNumber, 0, 0},
                                        request.channelName);
}

Result<Bytes> encodeLogin(const LoginRequest& request) {
  return encodeRequest<ipc::MsgUserLogin>({}, request.account, request.credential);
}

Result<Bytes> encodeStart(const StartRequest& request) {
  return encodeRequest<ipc::MsgStartAccel>(fixedPart(request), request.startText,
                                           request.nodeSelection);
}

Result<Bytes> encodeStartEx(const StartExRequest& request) {
  return encodeRequest<ipc::MsgStartAccelEx>({fixedPart(request.start), request.startArg4},
                                             request.start.startText, request.start.nodeSelection);
}

Result<Bytes> encodeSpeed(const SpeedRequest& request) {
  return encodeRequest<ipc::MsgGetTestSpeedData>(
      {request.gameId, request.areaId, 0, 0, request.testOption}, request.serverKey);
}

Bytes encodeGame(std::uint32_t gameId) {
  const ByteView bytes = bytesOf(gameId);
  return {bytes.begin(), bytes.end()};
}

Result<Bytes> encodeFrame(std::uint32_t type, std::uint32_t clientId, ByteView payload) {
  // The header and the payload are one write, whose length must fit 32 bits as well.
  if (payload.size() > std::numeric_limits<std::uint32_t>::max() - sizeof(ipc::MessageHeader)) {
    return cannotEncode("the payload is 4 GiB or more");
  }
  ipc::MessageHeader header{};
  header.magic = ipc::kRequestMagic;
  header.type = type;
  header.payloadLength = static_cast<std::uint32_t>(payload.size());
  header.clientId = clientId;
  Bytes frame;
  frame.reserve(sizeof(header) + payload.size());
  append(frame, bytesOf(header));
  append(frame, payload);
  return frame;
}

Bytes encodePushRegistration(std::uint32_t clientId) {
  const ByteView bytes = bytesOf(clientId);
  return {bytes.begin(), bytes.end()};
}

}  // namespace orva_accelerator::client
