// The fixed parts of response payloads. Texts follow them back to back, in the order of their
// length fields, in UTF-8 without terminator; lengths are in bytes.
//
// Reserved fields go out as zeros; clients ignore them. A failed query answers its fixed part with
// zeros: nothing on the wire carries an error code.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_accelerator::ipc {

#pragma pack(push, 1)

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
  std::uint32_t reserved1;
  std::uint64_t value8;
  std::uint32_t value10;
  std::uint16_t text3Length;
  std::uint16_t reserved2;
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
  std::uint16_t infoTextLength;
  std::uint16_t serverKeyLength;
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
  std::uint32_t reserved1;
  std::uint64_t reservedLong;  // Always 0.
  std::uint32_t nodeValue1;
  std::uint32_t nodeValue2;
  std::uint16_t gameTextLength;
  std::uint16_t infoTextLength;
  std::uint16_t serverKeyLength;
  std::uint16_t serverTextLength;
  std::uint16_t nodeTextLength;
  std::uint8_t reserved2[6];
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
  std::uint32_t reserved1;
  std::uint64_t used4;
  std::uint16_t usedText1Length;
  std::uint16_t usedText2Length;
  std::uint32_t reserved2;
};

#pragma pack(pop)

static_assert(sizeof(AccelOwnerResponse) == 2);
static_assert(sizeof(ClientLeavingResponse) == 8);
static_assert(sizeof(AccelDataResponse) == 48);
static_assert(offsetof(AccelDataResponse, value8) == 32);
static_assert(offsetof(AccelDataResponse, value10) == 40);
static_assert(offsetof(AccelDataResponse, text3Length) == 44);
static_assert(sizeof(ConsoleDataResponse) == 28);
static_assert(sizeof(GameLastAccelInfoResponse) == 24);
static_assert(offsetof(GameLastAccelInfoResponse, infoTextLength) == 20);
static_assert(sizeof(TestSpeedResponse) == 60);
static_assert(sizeof(GameAccelInfoResponse) == 64);
static_assert(offsetof(GameAccelInfoResponse, reservedLong) == 32);
static_assert(offsetof(GameAccelInfoResponse, gameTextLength) == 48);
static_assert(offsetof(GameAccelInfoResponse, nodeTextLength) == 56);
static_assert(sizeof(UsedNodeListResponse) == 8);
static_assert(sizeof(UsedNodeBlock) == 32);
static_assert(offsetof(UsedNodeBlock, used4) == 16);
static_assert(offsetof(UsedNodeBlock, usedText1Length) == 24);

}  // namespace orva_accelerator::ipc
