#include "client/responses.h"

#include <algorithm>
#include <iterator>

#include "client/byte_reader.h"
#include "ipc/wire/responses.h"

namespace orva_accelerator::client {
namespace {

Error Malformed(ByteView payload) {
  if (payload.empty()) {
    return Error{ErrorKind::Refused, "read the answer", 0,
                 "the service gave an empty answer, as it does to a request that it does not know"};
  }
  return Error{
      ErrorKind::Protocol, "decode the answer", 0,
      "its " + std::to_string(payload.size()) + " bytes are not what its own lengths announce"};
}

// A payload that is one record and nothing else.
template <typename Record>
bool Whole(ByteView payload, Record& record) {
  return payload.size() == sizeof(Record) && ByteReader(payload).Take(record);
}

}  // namespace

Result<std::int32_t> DecodeInit(ByteView payload) {
  std::int32_t result = 0;
  if (!Whole(payload, result)) return Malformed(payload);
  return result;
}

Result<std::uint32_t> DecodeAcknowledgement(ByteView payload) {
  std::uint32_t word = 0;
  if (!Whole(payload, word)) return Malformed(payload);
  return word;
}

Result<bool> DecodeFlag(ByteView payload) {
  std::uint8_t flag = 0;
  if (!Whole(payload, flag)) return Malformed(payload);
  return flag != 0;
}

Result<AccelOwner> DecodeAccelOwner(ByteView payload) {
  ipc::AccelOwnerResponse wire{};
  if (!Whole(payload, wire)) return Malformed(payload);
  return AccelOwner{wire.anyAcceleration != 0, wire.ownedByCaller != 0};
}

Result<LeaveOutcome> DecodeLeave(ByteView payload) {
  ipc::ClientLeavingResponse wire{};
  if (!Whole(payload, wire)) return Malformed(payload);
  return LeaveOutcome{wire.lastClient != 0, wire.remainingClients};
}

Result<std::uint32_t> DecodeHeartbeat(ByteView payload) {
  return DecodeAcknowledgement(payload);
}

Result<AccelData> DecodeAccelData(ByteView payload) {
  ByteReader reader(payload);
  ipc::AccelDataResponse wire{};
  AccelData data;
  if (!reader.Take(wire) || !reader.TakeText(wire.text3Length, data.text3) ||
      reader.remaining() != 0) {
    return Malformed(payload);
  }
  data.value1 = wire.value1;
  data.value2 = wire.value2;
  data.value3 = wire.value3;
  data.value4 = wire.value4;
  data.value5 = wire.value5;
  data.value6 = wire.value6;
  data.value8 = wire.value8;
  data.value9 = wire.value9;
  data.value10 = wire.value10;
  return data;
}

Result<ConsoleData> DecodeConsoleData(ByteView payload) {
  ipc::ConsoleDataResponse wire{};
  if (!Whole(payload, wire)) return Malformed(payload);
  return ConsoleData{wire.status,   wire.console1, wire.console2,        wire.console3,
                     wire.console4, wire.console5, wire.consoleFlag != 0};
}

Result<LastAccelInfo> DecodeLastAccelInfo(ByteView payload) {
  ByteReader reader(payload);
  ipc::GameLastAccelInfoResponse wire{};
  LastAccelInfo info;
  if (!reader.Take(wire) || !reader.TakeText(wire.infoTextLength, info.infoText) ||
      !reader.TakeText(wire.serverKeyLength, info.serverKey) || reader.remaining() != 0) {
    return Malformed(payload);
  }
  info.status = wire.status;
  info.areaId = wire.areaId;
  info.nodeId = wire.nodeId;
  info.infoFlag = wire.infoFlag != 0;
  info.infoValue = wire.infoValue;
  return info;
}

Result<SpeedSummary> DecodeSpeedSummary(ByteView payload) {
  ipc::TestSpeedResponse wire{};
  if (!Whole(payload, wire)) return Malformed(payload);
  SpeedSummary speed;
  speed.status = wire.status;
  static_assert(sizeof(speed.summary) == sizeof(wire.summary));
  std::ranges::copy(wire.summary, speed.summary.begin());
  return speed;
}

Result<GameInfo> DecodeGameInfo(ByteView payload) {
  ByteReader reader(payload);
  ipc::GameAccelInfoResponse wire{};
  GameInfo info;
  if (!reader.Take(wire) || !reader.TakeText(wire.gameTextLength, info.gameText) ||
      !reader.TakeText(wire.infoTextLength, info.infoText) ||
      !reader.TakeText(wire.serverKeyLength, info.serverKey) ||
      !reader.TakeText(wire.serverTextLength, info.serverText) ||
      !reader.TakeText(wire.nodeTextLength, info.nodeText) || reader.remaining() != 0) {
    return Malformed(payload);
  }
  info.status = wire.status;
  info.gameId = wire.gameId;
  info.areaId = wire.areaId;
  info.nodeId = wire.nodeId;
  info.infoFlag = wire.infoFlag != 0;
  info.infoValue = wire.infoValue;
  info.reservedWord = wire.reservedWord;
  info.reservedLong = wire.reservedLong;
  info.nodeValue1 = wire.nodeValue1;
  info.nodeValue2 = wire.nodeValue2;
  return info;
}

Result<UsedNodeList> DecodeUsedNodes(ByteView payload) {
  ByteReader reader(payload);
  ipc::UsedNodeListResponse head{};
  if (!reader.Take(head)) return Malformed(payload);
  UsedNodeList list;
  list.status = head.status;
  // The list grows with the blocks that are really there: a count of four billion in a short
  // payload fails at the first missing block and costs nothing.
  for (std::uint32_t i = 0; i < head.count; ++i) {
    ipc::UsedNodeBlock wire{};
    UsedNode node;
    if (!reader.Take(wire) || !reader.TakeText(wire.usedText1Length, node.usedText1) ||
        !reader.TakeText(wire.usedText2Length, node.usedText2)) {
      return Malformed(payload);
    }
    node.used1 = wire.used1;
    node.used2 = wire.used2;
    node.used3 = wire.used3;
    node.used4 = wire.used4;
    list.nodes.push_back(std::move(node));
  }
  if (reader.remaining() != 0) return Malformed(payload);
  return list;
}

}  // namespace orva_accelerator::client
