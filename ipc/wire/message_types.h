// The numbers of the protocol. Fixed: clients in the field depend on every one of them.
// docs/protocol.md describes each message.
#pragma once

#include <cstdint>

namespace orva_accelerator::ipc {

// MessageHeader::type. Matched as a whole 32-bit value; every other number is an unknown request,
// answered with an empty response.
enum MessageType : std::uint32_t {
  MsgSdkInit = 0x100,
  MsgUserLogin = 0x101,
  MsgSdkRelease = 0x102,
  MsgSdkIsInitialised = 0x200,
  MsgStartAccel = 0x500,
  MsgStartAccelEx = 0x501,
  MsgStopAccel = 0x502,
  MsgQueryAccelOwner = 0x503,
  MsgGetAccelData = 0x600,
  MsgGetGameLastAccelInfo = 0x601,
  MsgGetGameAccelInfo = 0x602,
  MsgGetTestSpeedData = 0x603,
  MsgGetConsoleData = 0x604,
  MsgGetGameUsedNodeList = 0x605,
  MsgClientLeaving = 0x700,
  MsgHeartbeat = 0xFFFF,
};

// PushFrameHeader::type: the outcome of an operation that was answered before it had one.
enum NotificationType : std::uint32_t {
  NotifyStartAccel = 0x1000,
  NotifyStartAccelEx = 0x1001,
  NotifyStopAccel = 0x1002,
  NotifyUserLogin = 0x1003,
};

}  // namespace orva_accelerator::ipc
