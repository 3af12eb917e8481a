// What the library remembers of a game: its last acceleration and the nodes that were used for it.

#include <vector>

#include "handlers/payload_reader.h"
#include "handlers/request_handlers.h"
#include "handlers/response_writer.h"
#include "handlers/text_conversion.h"
#include "ipc/wire/requests.h"
#include "ipc/wire/responses.h"
#include "sdk/accel_sdk.h"

namespace orva_accelerator::ipc {

void HandleGetGameLastAccelInfo(PipeServer& /*server*/, const MessageHeader& /*header*/,
                                const void* payload, void*& response,
                                std::uint32_t& responseLength) {
  const auto request = readFixedPart<GameRequest>(payload);
  const auto info = sdk::AccelSdk::Instance().GetGameLastAccelInfo(request.gameId);
  if (!info) {
    respond(GameLastAccelInfoResponse{}, response, responseLength);
    return;
  }

  const Utf8Text infoText(info->infoText);
  const Utf8Text serverKey(info->serverKey);
  ResponseWriter writer(response, responseLength,
                        sizeof(GameLastAccelInfoResponse) + textLength(infoText.view()) +
                            textLength(serverKey.view()));
  writer.write(GameLastAccelInfoResponse{
      .status = 1,
      .areaId = info->areaId,
      .nodeId = info->nodeId,
      .infoFlag = info->infoFlag ? 1U : 0U,
      .infoValue = info->infoValue,
      .infoTextLength = textLength(infoText.view()),
      .serverKeyLength = textLength(serverKey.view()),
  });
  writer.writeText(infoText.view());
  writer.writeText(serverKey.view());
}

void HandleGetGameAccelInfo(PipeServer& /*server*/, const MessageHeader& /*header*/,
                            const void* payload, void*& response, std::uint32_t& responseLength) {
  const auto request = readFixedPart<GameRequest>(payload);
  const auto info = sdk::AccelSdk::Instance().GetGameAccelInfo(request.gameId);
  if (!info) {
    respond(GameAccelInfoResponse{}, response, responseLength);
    return;
  }

  const Utf8Text gameText(info->gameText);
  const Utf8Text infoText(info->infoText);
  const Utf8Text serverKey(info->serverKey);
  const Utf8Text serverText(info->serverText);
  const Utf8Text nodeText(info->nodeText);
  ResponseWriter writer(response, responseLength,
                        sizeof(GameAccelInfoResponse) + textLength(gameText.view()) +
                            textLength(infoText.view()) + textLength(serverKey.view()) +
                            textLength(serverText.view()) + textLength(nodeText.view()));
  writer.write(GameAccelInfoResponse{
      .status = 1,
      .gameId = info->gameId,
      .areaId = info->areaId,
      .nodeId = info->nodeId,
      .infoFlag = info->infoFlag ? 1U : 0U,
      .infoValue = info->infoValue,
      .reservedWord = info->reservedWord,
      .reserved1 = 0,
      .reservedLong = info->reservedLong,
      .nodeValue1 = info->nodeValue1,
      .nodeValue2 = info->nodeValue2,
      .gameTextLength = textLength(gameText.view()),
      .infoTextLength = textLength(infoText.view()),
      .serverKeyLength = textLength(serverKey.view()),
      .serverTextLength = textLength(serverText.view()),
      .nodeTextLength = textLength(nodeText.view()),
      .reserved2 = {},
  });
  writer.writeText(gameText.view());
  writer.writeText(infoText.view());
  writer.writeText(serverKey.view());
  writer.writeText(serverText.view());
  writer.writeText(nodeText.view());
}

namespace {

struct UsedNodeTexts {
  std::string usedText1;
  std::string usedText2;
};

}  // namespace

void HandleGetGameUsedNodeList(PipeServer& /*server*/, const MessageHeader& /*header*/,
                               const void* payload, void*& response,
                               std::uint32_t& responseLength) {
  const auto request = readFixedPart<GameRequest>(payload);
  const auto nodes = sdk::AccelSdk::Instance().GetGameUsedNodeDataList(request.gameId);

  // Converted ahead, since the response is allocated once and its length depends on every text.
  // Nodes times texts may exceed 32 bits; the writer sees to that.
  std::vector<UsedNodeTexts> texts;
  texts.reserve(nodes.size());
  std::uint64_t length = sizeof(UsedNodeListResponse);
  for (const sdk::UsedNodeInfo& node : nodes) {
    const UsedNodeTexts& added =
        texts.emplace_back(UsedNodeTexts{ToUtf8(node.usedText1), ToUtf8(node.usedText2)});
    length += sizeof(UsedNodeBlock) + textLength(added.usedText1) + textLength(added.usedText2);
  }

  ResponseWriter writer(response, responseLength, length);
  writer.write(UsedNodeListResponse{
      .status = 1,
      .count = static_cast<std::uint32_t>(nodes.size()),
  });
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    writer.write(UsedNodeBlock{
        .used1 = nodes[i].used1,
        .used2 = nodes[i].used2,
        .used3 = nodes[i].used3,
        .reserved1 = 0,
        .used4 = nodes[i].used4,
        .usedText1Length = textLength(texts[i].usedText1),
        .usedText2Length = textLength(texts[i].usedText2),
        .reserved2 = 0,
    });
    writer.writeText(texts[i].usedText1);
    writer.writeText(texts[i].usedText2);
  }
}

}  // namespace orva_accelerator::ipc
