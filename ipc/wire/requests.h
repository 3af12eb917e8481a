// The fixed parts of request payloads. Texts follow them back to back, in the order of their
// length fields, in UTF-8 without terminator; lengths are in bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_accelerator::ipc {

// The request carries no payload; what a client sends all the same is not looked at.
struct NoRequest {};

#pragma pack(push, 1)

// MsgSdkInit. Text: channelName.
struct SdkInitRequest {
  std::uint32_t channelId;
  std::uint32_t channelNumber;
  std::uint16_t channelNameLength;
  std::uint16_t reserved;
};

// MsgUserLogin. Texts: account, credential.
struct UserLoginRequest {
  std::uint16_t accountLength;
  std::uint16_t credentialLength;
};

// MsgStartAccel. Texts: startText, nodeSelection ("", "auto", or integers separated by ';').
struct StartAccelRequest {
  std::uint32_t startArg1;
  std::uint32_t startArg2;
  std::uint16_t startTextLength;
  std::uint16_t reserved1;
  std::uint32_t startArg3;
  std::uint16_t nodeSelectionLength;
  std::uint16_t reserved2;
};

// MsgStartAccelEx: a StartAccelRequest with one more argument ahead of the texts.
struct StartAccelExRequest {
  StartAccelRequest start;
  std::uint32_t startArg4;
};

// MsgGetGameLastAccelInfo, MsgGetGameAccelInfo, MsgGetGameUsedNodeList. No text.
struct GameRequest {
  std::uint32_t gameId;
};

// MsgGetTestSpeedData. Text: serverKey.
struct TestSpeedRequest {
  std::uint32_t gameId;
  std::uint32_t areaId;
  std::uint16_t serverKeyLength;
  std::uint16_t reserved;
  std::uint32_t testOption;
};

#pragma pack(pop)

static_assert(sizeof(SdkInitRequest) == 12);
static_assert(offsetof(SdkInitRequest, channelId) == 0);
static_assert(offsetof(SdkInitRequest, channelNumber) == 4);
static_assert(offsetof(SdkInitRequest, channelNameLength) == 8);
static_assert(offsetof(SdkInitRequest, reserved) == 10);

static_assert(sizeof(UserLoginRequest) == 4);
static_assert(offsetof(UserLoginRequest, accountLength) == 0);
static_assert(offsetof(UserLoginRequest, credentialLength) == 2);

static_assert(sizeof(StartAccelRequest) == 20);
static_assert(offsetof(StartAccelRequest, startArg1) == 0);
static_assert(offsetof(StartAccelRequest, startArg2) == 4);
static_assert(offsetof(StartAccelRequest, startTextLength) == 8);
static_assert(offsetof(StartAccelRequest, reserved1) == 10);
static_assert(offsetof(StartAccelRequest, startArg3) == 12);
static_assert(offsetof(StartAccelRequest, nodeSelectionLength) == 16);
static_assert(offsetof(StartAccelRequest, reserved2) == 18);

static_assert(sizeof(StartAccelExRequest) == 24);
static_assert(offsetof(StartAccelExRequest, start) == 0);
static_assert(offsetof(StartAccelExRequest, startArg4) == 20);

static_assert(sizeof(GameRequest) == 4);
static_assert(offsetof(GameRequest, gameId) == 0);

static_assert(sizeof(TestSpeedRequest) == 16);
static_assert(offsetof(TestSpeedRequest, gameId) == 0);
static_assert(offsetof(TestSpeedRequest, areaId) == 4);
static_assert(offsetof(TestSpeedRequest, serverKeyLength) == 8);
static_assert(offsetof(TestSpeedRequest, reserved) == 10);
static_assert(offsetof(TestSpeedRequest, testOption) == 12);

// Bytes of a request's fixed part.
template <typename Request>
inline constexpr std::size_t kRecordSize = sizeof(Request);
template <>
inline constexpr std::size_t kRecordSize<NoRequest> = 0;

}  // namespace orva_accelerator::ipc
