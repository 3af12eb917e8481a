// What a client can ask, and the bytes of it.
//
// Texts are UTF-8; one longer than 65,535 bytes cannot be announced on the wire and is refused as a
// usage error. The encoders are pure functions and give the payload alone; encodeFrame puts the
// header in front. Requests that carry nothing need no encoder.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "client/bytes.h"
#include "client/result.h"
#include "ipc/wire/messages.h"

namespace orva_accelerator::client {

struct InitRequest {
  std::uint32_t channelId = 1;
  std::uint32_t channelNumber = 0;
  std::string channelName;
};

// Borrowed, so that no copy of a credential outlives its owner's.
struct LoginRequest {
  std::string_view account;
  std::string_view credential;
};

// The service hands all of it to the library as it is, but takes `nodeSelection` apart on the way:
// anything in it that is not a number ends the service. See client/node_selection.h.
struct StartRequest {
  std::uint32_t startArg1 = 0;
  std::uint32_t startArg2 = 0;
  std::uint32_t startArg3 = 0;
  std::string startText;
  std::string nodeSelection;
};

struct StartExRequest {
  StartRequest start;
  std::uint32_t startArg4 = 0;
};

struct SpeedRequest {
  std::uint32_t gameId = 0;
  std::uint32_t areaId = 0;
  std::string serverKey;
  std::uint32_t testOption = 0;
};

Result<Bytes> encodeInit(const InitRequest& request);
Result<Bytes> encodeLogin(const LoginRequest& request);
Result<Bytes> encodeStart(const StartRequest& request);
Result<Bytes> encodeStartEx(const StartExRequest& request);
Result<Bytes> encodeSpeed(const SpeedRequest& request);
Bytes encodeGame(std::uint32_t gameId);

// `fixed` with the lengths of `texts` at these offsets, and the texts behind it.
Result<Bytes> encodePayload(ByteView fixed, std::span<const std::size_t> lengthOffsets,
                            std::span<const std::string_view> texts);

// The payload of any request that the table of messages describes.
template <ipc::MessageType Type, typename... Text>
Result<Bytes> encodeRequest(const typename ipc::MessageOf<Type>::Request& fixed,
                            const Text&... text) {
  constexpr auto& kLengths = ipc::kTextLengths<typename ipc::MessageOf<Type>::Request>;
  const std::array<std::string_view, kLengths.size()> texts = {text...};
  return encodePayload(bytesOf(fixed), kLengths, texts);
}

// Header and payload as the one message that RequestChannel writes: the service reads the header
// from its front and the payload from the rest. `type` is a number rather than an ipc::MessageType
// because tools send unknown ones too. A payload of 4 GiB or more is a usage error.
Result<Bytes> encodeFrame(std::uint32_t type, std::uint32_t clientId, ByteView payload);

// The only thing that is ever sent on the push pipe.
Bytes encodePushRegistration(std::uint32_t clientId);

}  // namespace orva_accelerator::client
