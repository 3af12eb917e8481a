// What clients may ask the library: figures of the acceleration and the console, what it remembers
// of a game, the latest speed test.

#include "handlers/request_handlers.h"
#include "sdk/accel_sdk.h"
#include "sdk/record_reading.h"

namespace orva_accelerator::ipc {

Answer HandleGetAccelData(const Request<MsgGetAccelData>& request) {
  const sdk::AccelDataInfo data = sdk::AccelSdk::Instance().GetAccelData();
  return request.answer(
      {
          .value2 = data.value2,
          .value3 = data.value3,
          .value4 = data.value4,
          .value1 = data.value1,
          .value5 = data.value5,
          .value6 = data.value6,
          .value9 = data.value9,
          .value8 = data.value8,
          .value10 = data.value10,
      },
      data.text3);
}

Answer HandleGetConsoleData(const Request<MsgGetConsoleData>& request) {
  const sdk::ConsoleDataRecord data = sdk::AccelSdk::Instance().GetConsoleData();
  return request.answer({
      .status = 1,
      .console1 = data.console1,
      .console2 = data.console2,
      .console3 = data.console3,
      .console4 = data.console4,
      .console5 = data.console5,
      .consoleFlag = data.consoleFlag != 0 ? 1U : 0U,
  });
}

Answer HandleGetTestSpeedData(const Request<MsgGetTestSpeedData>& request) {
  const auto [serverKey] = request.texts();
  TestSpeedResponse answer = {};
  // The entries and their number are not sent: the protocol carries the summary only.
  if (const auto data = sdk::AccelSdk::Instance().GetTestSpeedData(
          request.fixed.gameId, request.fixed.areaId, serverKey, request.fixed.testOption)) {
    answer.status = 1;
    static_assert(sizeof(answer.summary) == sizeof(data->summary));
    std::memcpy(answer.summary, &data->summary, sizeof(answer.summary));
  }
  return request.answer(answer);
}

Answer HandleGetGameLastAccelInfo(const Request<MsgGetGameLastAccelInfo>& request) {
  const auto info = sdk::AccelSdk::Instance().GetGameLastAccelInfo(request.fixed.gameId);
  if (!info) return request.answer({}, L"", L"");
  return request.answer(
      {
          .status = 1,
          .areaId = info->areaId,
          .nodeId = info->nodeId,
          .infoFlag = info->infoFlag ? 1U : 0U,
          .infoValue = info->infoValue,
      },
      info->infoText, info->serverKey);
}

Answer HandleGetGameAccelInfo(const Request<MsgGetGameAccelInfo>& request) {
  const auto info = sdk::AccelSdk::Instance().GetGameAccelInfo(request.fixed.gameId);
  if (!info) return request.answer({}, L"", L"", L"", L"", L"");
  return request.answer(
      {
          .status = 1,
          .gameId = info->gameId,
          .areaId = info->areaId,
          .nodeId = info->nodeId,
          .infoFlag = info->infoFlag ? 1U : 0U,
          .infoValue = info->infoValue,
          .reservedWord = info->reservedWord,
          .reservedLong = info->reservedLong,
          .nodeValue1 = info->nodeValue1,
          .nodeValue2 = info->nodeValue2,
      },
      info->gameText, info->infoText, info->serverKey, info->serverText, info->nodeText);
}

Answer HandleGetGameUsedNodeList(const Request<MsgGetGameUsedNodeList>& request) {
  const auto nodes = sdk::AccelSdk::Instance().GetGameUsedNodeDataList(request.fixed.gameId);
  using sdk::textOf;
  // Nodes times texts may exceed 32 bits; the answer sees to that.
  std::uint64_t length = sizeof(UsedNodeListResponse);
  for (const sdk::UsedNodeInfo& node : nodes) {
    length += Answer::sizeOf<UsedNodeBlock>(textOf(node.usedText1), textOf(node.usedText2));
  }
  Answer answer(length);
  answer.append(
      UsedNodeListResponse{.status = 1, .count = static_cast<std::uint32_t>(nodes.size())});
  for (const sdk::UsedNodeInfo& node : nodes) {
    const UsedNodeBlock block = {
        .used1 = node.used1, .used2 = node.used2, .used3 = node.used3, .used4 = node.used4};
    answer.append(block, textOf(node.usedText1), textOf(node.usedText2));
  }
  return answer;
}

}  // namespace orva_accelerator::ipc
