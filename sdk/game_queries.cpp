// What the library remembers of a game, and its lists about it.

#include <algorithm>
#include <utility>

#include "sdk/accel_sdk.h"
#include "sdk/kernel_function_table.h"
#include "sdk/record_reading.h"

namespace orva_accelerator::sdk {

namespace {

constexpr std::uint32_t kTextCapacity = 256;  // In units, with the NUL.

// The library is told the capacity, and yet it is not relied on to have left room for the NUL.
std::wstring_view terminatedText(wchar_t (&units)[kTextCapacity]) {
  units[kTextCapacity - 1] = L'\0';
  return textOf(units);
}

}  // namespace

std::vector<ServerEntry> AccelSdk::GetGameServerDataList(std::uint32_t gameId,
                                                         std::uint32_t areaId) const {
  return fetchRecords<ServerEntry>([&](ServerEntry* records, std::uint32_t* count) {
    return kernelFunctions.call<KernelFunction::Kernel_GetGameServerDataList>(gameId, areaId,
                                                                              records, count);
  });
}

std::vector<NodeEntry> AccelSdk::GetGameNodeDataList(std::uint32_t gameId, std::uint32_t areaId,
                                                     const std::wstring& serverKey) const {
  return fetchRecords<NodeEntry>([&](NodeEntry* records, std::uint32_t* count) {
    return kernelFunctions.call<KernelFunction::Kernel_GetGameNodeDataList>(
        gameId, areaId, serverKey.c_str(), records, count);
  });
}

std::vector<UsedNodeInfo> AccelSdk::GetGameUsedNodeDataList(std::uint32_t gameId) const {
  return fetchRecords<UsedNodeInfo>([&](UsedNodeInfo* records, std::uint32_t* count) {
    return kernelFunctions.call<KernelFunction::Kernel_GetGameUsedNodeDataList>(gameId, records,
                                                                                count);
  });
}

std::optional<GameDataRecord> AccelSdk::GetGameDataFromGameID(std::uint32_t gameId) const {
  std::optional<GameDataRecord> record(std::in_place);  // Zeroed.
  if (!kernelFunctions.call<KernelFunction::Kernel_GetGameDataFromGameID>(gameId, &*record)) {
    return std::nullopt;
  }
  return record;
}

std::optional<LastAccelInfo> AccelSdk::GetGameLastAccelInfo(std::uint32_t gameId) const {
  if (!IsInitialised()) return std::nullopt;
  wchar_t infoText[kTextCapacity] = {};
  wchar_t serverKey[kTextCapacity] = {};
  LastAccelInfo last;
  std::uint8_t infoFlag = 0;
  if (!kernelFunctions.call<KernelFunction::Kernel_GetGameLastAccelInfo>(
          gameId, &last.areaId, infoText, kTextCapacity, serverKey, kTextCapacity, &last.nodeId,
          &infoFlag, &last.infoValue)) {
    return std::nullopt;
  }
  last.infoText = terminatedText(infoText);
  last.serverKey = terminatedText(serverKey);
  last.infoFlag = infoFlag != 0;
  return last;
}

std::optional<GameAccelInfo> AccelSdk::GetGameAccelInfo(std::uint32_t gameId) const {
  std::optional<LastAccelInfo> last = GetGameLastAccelInfo(gameId);
  if (!last) return std::nullopt;

  GameAccelInfo info;
  info.gameId = gameId;
  info.areaId = last->areaId;
  info.infoText = std::move(last->infoText);
  info.serverKey = std::move(last->serverKey);
  info.nodeId = last->nodeId;
  info.infoFlag = last->infoFlag;
  info.infoValue = last->infoValue;

  // From here on nothing fails the query: what the library does not know stays empty.
  if (const auto game = GetGameDataFromGameID(gameId)) info.gameText = textOf(game->gameText);
  if (info.serverKey.empty()) return info;

  const auto servers = GetGameServerDataList(gameId, info.areaId);
  const auto server = std::ranges::find_if(servers, [&info](const ServerEntry& entry) {
    return textOf(entry.serverKey) == info.serverKey;
  });
  if (server != servers.end()) info.serverText = textOf(server->serverText);

  // Ids are unsigned everywhere else; "no node" may be 0 or negative.
  if (static_cast<std::int32_t>(info.nodeId) < 1) return info;
  const auto nodes = GetGameNodeDataList(gameId, info.areaId, info.serverKey);
  const auto node = std::ranges::find_if(
      nodes, [&info](const NodeEntry& entry) { return entry.nodeId == info.nodeId; });
  if (node == nodes.end()) return info;
  info.nodeText = textOf(node->nodeText);
  info.nodeValue1 = node->nodeValue1;
  info.nodeValue2 = node->nodeValue2;
  return info;
}

}  // namespace orva_accelerator::sdk
