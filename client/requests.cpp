#include "client/requests.h"

#include <limits>
#include <string_view>

#include "client/byte_writer.h"
#include "ipc/wire/headers.h"
#include "ipc/wire/requests.h"

namespace orva_accelerator::client {
namespace {

constexpr std::size_t kLongestText = std::numeric_limits<std::uint16_t>::max();

bool Fits(std::string_view text) {
  return text.size() <= kLongestText;
}

std::uint16_t LengthOf(std::string_view text) {
  return static_cast<std::uint16_t>(text.size());
}

Error TooLong(const char* field, std::string_view text) {
  return Error{ErrorKind::Usage, "encode the request", 0,
               std::string(field) + " has " + std::to_string(text.size()) +
                   " bytes, more than the 65535 that a request can carry"};
}

Result<ipc::StartAccelRequest> StartFixedPart(const StartRequest& request) {
  if (!Fits(request.startText)) return TooLong("startText", request.startText);
  if (!Fits(request.nodeSelection)) return TooLong("nodeSelection", request.nodeSelection);
  ipc::StartAccelRequest fixed{};
  fixed.startArg1 = request.startArg1;
  fixed.startArg2 = request.startArg2;
  fixed.startTextLength = LengthOf(request.startText);
  fixed.startArg3 = request.startArg3;
  fixed.nodeSelectionLength = LengthOf(request.nodeSelection);
  return fixed;
}

}  // namespace

Result<Bytes> EncodeInit(const InitRequest& request) {
  if (!Fits(request.channelName)) return TooLong("channelName", request.channelName);
  ipc::SdkInitRequest fixed{};
  fixed.channelId = request.channelId;
  fixed.channelNumber = request.channelNumber;
  fixed.channelNameLength = LengthOf(request.channelName);
  Bytes payload;
  AppendRecord(payload, fixed);
  AppendText(payload, request.channelName);
  return payload;
}

Result<Bytes> EncodeLogin(const LoginRequest& request) {
  if (!Fits(request.account)) return TooLong("account", request.account);
  if (!Fits(request.credential)) return TooLong("credential", request.credential);
  ipc::UserLoginRequest fixed{};
  fixed.accountLength = LengthOf(request.account);
  fixed.credentialLength = LengthOf(request.credential);
  Bytes payload;
  AppendRecord(payload, fixed);
  AppendText(payload, request.account);
  AppendText(payload, request.credential);
  return payload;
}

Result<Bytes> EncodeStart(const StartRequest& request) {
  auto fixed = StartFixedPart(request);
  if (!fixed) return fixed.error();
  Bytes payload;
  AppendRecord(payload, fixed.value());
  AppendText(payload, request.startText);
  AppendText(payload, request.nodeSelection);
  return payload;
}

Result<Bytes> EncodeStartEx(const StartExRequest& request) {
  auto start = StartFixedPart(request.start);
  if (!start) return start.error();
  ipc::StartAccelExRequest fixed{};
  fixed.start = start.value();
  fixed.startArg4 = request.startArg4;
  Bytes payload;
  AppendRecord(payload, fixed);
  AppendText(payload, request.start.startText);
  AppendText(payload, request.start.nodeSelection);
  return payload;
}

Result<Bytes> EncodeSpeed(const SpeedRequest& request) {
  if (!Fits(request.serverKey)) return TooLong("serverKey", request.serverKey);
  ipc::TestSpeedRequest fixed{};
  fixed.gameId = request.gameId;
  fixed.areaId = request.areaId;
  fixed.serverKeyLength = LengthOf(request.serverKey);
  fixed.testOption = request.testOption;
  Bytes payload;
  AppendRecord(payload, fixed);
  AppendText(payload, request.serverKey);
  return payload;
}

Bytes EncodeGame(std::uint32_t gameId) {
  Bytes payload;
  AppendRecord(payload, ipc::GameRequest{gameId});
  return payload;
}

Result<Bytes> EncodeFrame(std::uint32_t type, std::uint32_t clientId, ByteView payload) {
  // The header and the payload are one write, whose length must fit 32 bits as well.
  if (payload.size() > std::numeric_limits<std::uint32_t>::max() - sizeof(ipc::MessageHeader)) {
    return Error{ErrorKind::Usage, "encode the request", 0, "the payload is 4 GiB or more"};
  }
  ipc::MessageHeader header{};
  header.magic = ipc::kRequestMagic;
  header.type = type;
  header.payloadLength = static_cast<std::uint32_t>(payload.size());
  header.clientId = clientId;
  Bytes frame;
  frame.reserve(sizeof(header) + payload.size());
  AppendRecord(frame, header);
  frame.insert(frame.end(), payload.begin(), payload.end());
  return frame;
}

Bytes EncodePushRegistration(std::uint32_t clientId) {
  Bytes bytes;
  AppendRecord(bytes, clientId);
  return bytes;
}

}  // namespace orva_accelerator::client
