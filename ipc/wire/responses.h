// The fixed parts of response payloads. Texts follow them back to back, in the order of their
// length fields, in UTF-8 without terminator; lengths are in bytes.
//
// Reserved fields go out as zeros; clients ignore them. Whoever makes an answer names neither them
// nor its lengths, which are those of its texts. A failed query answers its fixed part with zeros:
// nothing on the wire carries an error code.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_accelerator::ipc {

#pragma pack(push, 1)

// MsgSdkInit.
struct SdkInitResponse {
  std::int32_t result;  // 1: initialised; -1: no library; -2: the library lacks functions.
};

// MsgUserLogin. Says that the request was taken, whatever becomes of the login.
struct UserLoginResponse {
  std::uint32_t taken;  // Always 1.
};

// MsgSdkRelease.
struct SdkReleaseResponse {
  std::uint32_t released;  // Always 1.
};

// MsgSdkIsInitialised.
struct SdkIsInitialisedResponse {
  std::uint8_t initialised;  // 0 or 1.
};

// MsgStartAccel and MsgStartAccelEx.
struct StartAccelResponse {
  std::uint8_t accepted;  // 1: the library took the start, or this client's start is pending.
};

// MsgStopAccel. Says that the request was taken, whatever becomes of the stop.
struct StopAccelResponse {
  std::uint8_t taken;  // Always 1.
};

// MsgQueryAccelOwner.
struct AccelOwnerResponse {
  std::uint8_t anyAcceleration;  // 1 while an acceleration runs or is being started.
  std::uint8_t ownedByCaller;    // 1 if the asking client is recorded as an owner of it.
};

// MsgClientLeaving.
struct ClientLeavingResponse {
  std::uint32_t lastClient;        // 1 if no push client remains.
  std::uint32_t remainingClients;  // How many push clients remain.
};

// MsgGetAccelData. Text: text3. The order is the protocol's own, not that of the library's record.
struct AccelDataResponse {
  std::uint32_t value2;
  std::uint32_t value3;
  std::uint32_t value4;
  std::uint32_t value1;
  std::uint32_t value5;
  std::uint32_t value6;
  std::uint32_t value9;
  std::uint32_t reserved1 = 0;
  std::uint64_t value8;
  std::uint32_t value10;
  std::uint16_t text3Length = 0;
  std::uint16_t reserved2 = 0;
};

// MsgGetConsoleData.
struct ConsoleDataResponse {
  std::uint32_t status;  // Always 1, also when the library gave nothing.
  std::uint32_t console1;
  std::uint32_t console2;
  std::uint32_t console3;
  std::uint32_t console4;
  std::uint32_t console5;
  std::uint32_t consoleFlag;  // 0 or 1.
};

// MsgGetGameLastAccelInfo. Texts: infoText, serverKey.
struct GameLastAccelInfoResponse {
  std::uint32_t status;  // 1 on success; on failure everything is 0.
  std::uint32_t areaId;
  std::uint32_t nodeId;
  std::uint32_t infoFlag;  // 0 or 1.
  std::uint32_t infoValue;
  std::uint16_t infoTextLength = 0;
  std::uint16_t serverKeyLength = 0;
};

// MsgGetTestSpeedData.
struct TestSpeedResponse {
  std::uint32_t status;  // 1 on success; on failure everything is 0.
  std::uint32_t summary[14];
};

// MsgGetGameAccelInfo. Texts: gameText, infoText, serverKey, serverText, nodeText.
struct GameAccelInfoResponse {
  std::uint32_t status;  // 1 on success; on failure everything is 0.
  std::uint32_t gameId;
  std::uint32_t areaId;
  std::uint32_t nodeId;
  std::uint32_t infoFlag;  // 0 or 1.
  std::uint32_t infoValue;
  std::uint32_t reservedWord;  // Always 0.
  std::uint32_t reserved1 = 0;
  std::uint64_t reservedLong;  // Always 0.
  std::uint32_t nodeValue1;
  std::uint32_t nodeValue2;
  std::uint16_t gameTextLength = 0;
  std::uint16_t infoTextLength = 0;
  std::uint16_t serverKeyLength = 0;
  std::uint16_t serverTextLength = 0;
  std::uint16_t nodeTextLength = 0;
  std::uint8_t reserved2[6] = {};
};

// MsgGetGameUsedNodeList: this head, then `count` times a UsedNodeBlock with its texts.
struct UsedNodeListResponse {
  std::uint32_t status;  // Always 1, also when there is no list.
  std::uint32_t count;
};

// One used node. Texts: usedText1, usedText2.
struct UsedNodeBlock {
  std::uint32_t used1;
  std::uint32_t used2;
  std::uint32_t used3;
  std::uint32_t reserved1 = 0;
  std::uint64_t used4;
  std::uint16_t usedText1Length = 0;
  std::uint16_t usedText2Length = 0;
  std::uint32_t reserved2 = 0;
};

// MsgHeartbeat.
struct HeartbeatResponse {
  std::uint32_t serviceClockMs;  // Low 32 bits of the service's steady clock in milliseconds.
};

#pragma pack(pop)

static_assert(sizeof(SdkInitResponse) == 4);
static_assert(offsetof(SdkInitResponse, result) == 0);

static_assert(sizeof(UserLoginResponse) == 4);
static_assert(offsetof(UserLoginResponse, taken) == 0);

static_assert(sizeof(SdkReleaseResponse) == 4);
static_assert(offsetof(SdkReleaseResponse, released) == 0);

static_assert(sizeof(SdkIsInitialisedResponse) == 1);
static_assert(offsetof(SdkIsInitialisedResponse, initialised) == 0);

static_assert(sizeof(StartAccelResponse) == 1);
static_assert(offsetof(StartAccelResponse, accepted) == 0);

static_assert(sizeof(StopAccelResponse) == 1);
static_assert(offsetof(StopAccelResponse, taken) == 0);

static_assert(sizeof(AccelOwnerResponse) == 2);
static_assert(offsetof(AccelOwnerResponse, anyAcceleration) == 0);
static_assert(offsetof(AccelOwnerResponse, ownedByCaller) == 1);

static_assert(sizeof(ClientLeavingResponse) == 8);
static_assert(offsetof(ClientLeavingResponse, lastClient) == 0);
static_assert(offsetof(ClientLeavingResponse, remainingClients) == 4);

static_assert(sizeof(AccelDataResponse) == 48);
static_assert(offsetof(AccelDataResponse, value2) == 0);
static_assert(offsetof(AccelDataResponse, value3) == 4);
static_assert(offsetof(AccelDataResponse, value4) == 8);
static_assert(offsetof(AccelDataResponse, value1) == 12);
static_assert(offsetof(AccelDataResponse, value5) == 16);
static_assert(offsetof(AccelDataResponse, value6) == 20);
static_assert(offsetof(AccelDataResponse, value9) == 24);
static_assert(offsetof(AccelDataResponse, reserved1) == 28);
static_assert(offsetof(AccelDataResponse, value8) == 32);
static_assert(offsetof(AccelDataResponse, value10) == 40);
static_assert(offsetof(AccelDataResponse, text3Length) == 44);
static_assert(offsetof(AccelDataResponse, reserved2) == 46);

static_assert(sizeof(ConsoleDataResponse) == 28);
static_assert(offsetof(ConsoleDataResponse, status) == 0);
static_assert(offsetof(ConsoleDataResponse, console1) == 4);
static_assert(offsetof(ConsoleDataResponse, console2) == 8);
static_assert(offsetof(ConsoleDataResponse, console3) == 12);
static_assert(offsetof(ConsoleDataResponse, console4) == 16);
static_assert(offsetof(ConsoleDataResponse, console5) == 20);
static_assert(offsetof(ConsoleDataResponse, consoleFlag) == 24);

static_assert(sizeof(GameLastAccelInfoResponse) == 24);
static_assert(offsetof(GameLastAccelInfoResponse, status) == 0);
static_assert(offsetof(GameLastAccelInfoResponse, areaId) == 4);
static_assert(offsetof(GameLastAccelInfoResponse, nodeId) == 8);
static_assert(offsetof(GameLastAccelInfoResponse, infoFlag) == 12);
static_assert(offsetof(GameLastAccelInfoResponse, infoValue) == 16);
static_assert(offsetof(GameLastAccelInfoResponse, infoTextLength) == 20);
static_assert(offsetof(GameLastAccelInfoResponse, serverKeyLength) == 22);

static_assert(sizeof(TestSpeedResponse) == 60);
static_assert(offsetof(TestSpeedResponse, status) == 0);
static_assert(offsetof(TestSpeedResponse, summary) == 4);

static_assert(sizeof(GameAccelInfoResponse) == 64);
static_assert(offsetof(GameAccelInfoResponse, status) == 0);
static_assert(offsetof(GameAccelInfoResponse, gameId) == 4);
static_assert(offsetof(GameAccelInfoResponse, areaId) == 8);
static_assert(offsetof(GameAccelInfoResponse, nodeId) == 12);
static_assert(offsetof(GameAccelInfoResponse, infoFlag) == 16);
static_assert(offsetof(GameAccelInfoResponse, infoValue) == 20);
static_assert(offsetof(GameAccelInfoResponse, reservedWord) == 24);
static_assert(offsetof(GameAccelInfoResponse, reserved1) == 28);
static_assert(offsetof(GameAccelInfoResponse, reservedLong) == 32);
static_assert(offsetof(GameAccelInfoResponse, nodeValue1) == 40);
static_assert(offsetof(GameAccelInfoResponse, nodeValue2) == 44);
static_assert(offsetof(GameAccelInfoResponse, gameTextLength) == 48);
static_assert(offsetof(GameAccelInfoResponse, infoTextLength) == 50);
static_assert(offsetof(GameAccelInfoResponse, serverKeyLength) == 52);
static_assert(offsetof(GameAccelInfoResponse, serverTextLength) == 54);
static_assert(offsetof(GameAccelInfoResponse, nodeTextLength) == 56);
static_assert(offsetof(GameAccelInfoResponse, reserved2) == 58);

static_assert(sizeof(UsedNodeListResponse) == 8);
static_assert(offsetof(UsedNodeListResponse, status) == 0);
static_assert(offsetof(UsedNodeListResponse, count) == 4);

static_assert(sizeof(UsedNodeBlock) == 32);
static_assert(offsetof(UsedNodeBlock, used1) == 0);
static_assert(offsetof(UsedNodeBlock, used2) == 4);
static_assert(offsetof(UsedNodeBlock, used3) == 8);
static_assert(offsetof(UsedNodeBlock, reserved1) == 12);
static_assert(offsetof(UsedNodeBlock, used4) == 16);
static_assert(offsetof(UsedNodeBlock, usedText1Length) == 24);
static_assert(offsetof(UsedNodeBlock, usedText2Length) == 26);
static_assert(offsetof(UsedNodeBlock, reserved2) == 28);

static_assert(sizeof(HeartbeatResponse) == 4);
static_assert(offsetof(HeartbeatResponse, serviceClockMs) == 0);

}  // namespace orva_accelerator::ipc
