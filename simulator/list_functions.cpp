// The servers of an area, the nodes of a server, the nodes that a game has used.
#include <iterator>
#include <string_view>

#include "simulator/exports.h"
#include "simulator/list_answer.h"
#include "simulator/texts.h"

using orva_accelerator::sdk::KernelBool;
using orva_accelerator::sdk::NodeRecord;
using orva_accelerator::sdk::ServerRecord;
using orva_accelerator::sdk::UsedNodeRecord;
using namespace orva_accelerator::simulator;

extern "C" KernelBool Kernel_GetGameServerDataList(std::uint32_t gameId, std::uint32_t areaId,
                                                   ServerRecord* records, std::uint32_t* count) {
  return guarded([&] {
    const Call call("Kernel_GetGameServerDataList", turnOfList(records));
    logList(call.log().number("gameId", gameId).number("areaId", areaId), records, count);
    call.raiseIfAsked();
    const Game* game = findGame(call.scenario().catalogue, gameId);
    if (game == nullptr) return call.finish(true);
    std::vector<const Server*> servers;
    for (const Server& server : game->servers) {
      if (server.areaId == areaId) servers.push_back(&server);
    }
    return call.finish(
        answerList(call, servers, records, count, [](const Server* server, ServerRecord& record) {
          copyText(server->key, record.serverKey, std::size(record.serverKey));
          copyText(server->text, record.serverText, std::size(record.serverText));
        }));
  });
}

extern "C" KernelBool Kernel_GetGameNodeDataList(std::uint32_t gameId, std::uint32_t areaId,
                                                 const wchar_t* serverKey, NodeRecord* records,
                                                 std::uint32_t* count) {
  return guarded([&] {
    const Call call("Kernel_GetGameNodeDataList", turnOfList(records));
    logList(
        call.log().number("gameId", gameId).number("areaId", areaId).text("serverKey", serverKey),
        records, count);
    call.raiseIfAsked();
    const Game* game = findGame(call.scenario().catalogue, gameId);
    const Server* server =
        game == nullptr || serverKey == nullptr ? nullptr : findServer(*game, areaId, serverKey);
    if (server == nullptr) return call.finish(true);
    return call.finish(
        answerList(call, server->nodes, records, count, [](const Node& node, NodeRecord& record) {
          record.nodeId = node.nodeId;
          copyText(node.text, record.nodeText, std::size(record.nodeText));
          record.nodeValue1 = node.value1;
          record.nodeValue2 = node.value2;
          record.nodeValue3 = node.value3;
        }));
  });
}

extern "C" KernelBool Kernel_GetGameUsedNodeDataList(std::uint32_t gameId, UsedNodeRecord* records,
                                                     std::uint32_t* count) {
  return guarded([&] {
    const Call call("Kernel_GetGameUsedNodeDataList", turnOfList(records));
    logList(call.log().number("gameId", gameId), records, count);
    call.raiseIfAsked();
    const Game* game = findGame(call.scenario().catalogue, gameId);
    if (game == nullptr) return call.finish(true);
    return call.finish(answerList(
        call, game->usedNodes, records, count, [](const UsedNode& node, UsedNodeRecord& record) {
          record.used1 = node.used1;
          record.used2 = node.used2;
          copyText(node.text1, record.usedText1, std::size(record.usedText1));
          record.used3 = node.used3;
          copyText(node.text2, record.usedText2, std::size(record.usedText2));
          record.used4 = node.used4;
        }));
  });
}
