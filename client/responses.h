// What the service answers, decoded.
//
// Each decoder takes the payload of one response and is a pure function. A payload that is shorter
// or longer than its own fixed part and text lengths say is a protocol error; nothing is read that
// is not there. An empty payload means that the service does not know the request: that is reported
// as Refused. Reserved fields are not looked at. Texts are the bytes that came: UTF-8 from a
// service that keeps to the protocol.
//
// Fields keep the names that they have on the wire; what the numbered ones mean is the acceleration
// library's business.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "client/bytes.h"
#include "client/result.h"

namespace orva_accelerator::client {

struct AccelOwner {
  bool anyAcceleration = false;
  bool ownedByCaller = false;
};

struct LeaveOutcome {
  bool lastClient = false;  // The service ends itself after this answer.
  std::uint32_t remainingClients = 0;
};

// All zeros and no text when the library is not initialised or gave nothing.
struct AccelData {
  std::uint32_t value1 = 0;
  std::uint32_t value2 = 0;
  std::uint32_t value3 = 0;
  std::string text3;
  std::uint32_t value4 = 0;
  std::uint32_t value5 = 0;
  std::uint32_t value6 = 0;
  std::uint64_t value8 = 0;
  std::uint32_t value9 = 0;
  std::uint32_t value10 = 0;
};

// All zeros but `status`, which is always 1, when the library gave nothing.
struct ConsoleData {
  std::uint32_t status = 0;
  std::uint32_t console1 = 0;
  std::uint32_t console2 = 0;
  std::uint32_t console3 = 0;
  std::uint32_t console4 = 0;
  std::uint32_t console5 = 0;
  bool consoleFlag = false;
};

// `status` 0: the library knows nothing of it and everything else is empty.
struct LastAccelInfo {
  std::uint32_t status = 0;
  std::uint32_t areaId = 0;
  std::uint32_t nodeId = 0;
  bool infoFlag = false;
  std::uint32_t infoValue = 0;
  std::string infoText;
  std::string serverKey;
};

// `status` 0: no test result, or the test failed; everything else is 0.
struct SpeedSummary {
  std::uint32_t status = 0;
  std::array<std::uint32_t, 14> summary{};  // summary1 to summary14.
};

// `status` 0: the library knows nothing of it and everything else is empty.
struct GameInfo {
  std::uint32_t status = 0;
  std::uint32_t gameId = 0;
  std::uint32_t areaId = 0;
  std::uint32_t nodeId = 0;
  bool infoFlag = false;
  std::uint32_t infoValue = 0;
  std::uint32_t reservedWord = 0;
  std::uint64_t reservedLong = 0;
  std::uint32_t nodeValue1 = 0;
  std::uint32_t nodeValue2 = 0;
  std::string gameText;
  std::string infoText;
  std::string serverKey;
  std::string serverText;
  std::string nodeText;
};

struct UsedNode {
  std::uint32_t used1 = 0;
  std::uint32_t used2 = 0;
  std::string usedText1;
  std::uint32_t used3 = 0;
  std::string usedText2;
  std::uint64_t used4 = 0;
};

struct UsedNodeList {
  std::uint32_t status = 0;  // Always 1.
  std::vector<UsedNode> nodes;
};

// 1: initialised; -1: the library could not be loaded; -2: it lacks a function.
Result<std::int32_t> DecodeInit(ByteView payload);
// The u32 of login and release, 1 in every case: it says that the request was taken, no more.
Result<std::uint32_t> DecodeAcknowledgement(ByteView payload);
// The one byte of is-initialised, start, start-ex and stop.
Result<bool> DecodeFlag(ByteView payload);
Result<AccelOwner> DecodeAccelOwner(ByteView payload);
Result<LeaveOutcome> DecodeLeave(ByteView payload);
// The low 32 bits of the service's millisecond clock.
Result<std::uint32_t> DecodeHeartbeat(ByteView payload);
Result<AccelData> DecodeAccelData(ByteView payload);
Result<ConsoleData> DecodeConsoleData(ByteView payload);
Result<LastAccelInfo> DecodeLastAccelInfo(ByteView payload);
Result<SpeedSummary> DecodeSpeedSummary(ByteView payload);
Result<GameInfo> DecodeGameInfo(ByteView payload);
Result<UsedNodeList> DecodeUsedNodes(ByteView payload);

}  // namespace orva_accelerator::client
