#include <algorithm>
#include <utility>

#include "sdk/accel_sdk.h"
#include "sdk/fixed_text.h"
#include "sdk/game_records.h"
#include "sdk/kernel_function_table.h"

namespace orva_accelerator::sdk {

namespace {

constexpr std::uint32_t kTextCapacity = 256;  // In units, with the NUL.

// The library is told the capacity, and yet it is not relied on to have left room for the NUL.
std::wstring terminatedText(wchar_t (&units)[kTextCapacity]) {
  units[kTextCapacity - 1] = L'\0';
  return fixedText(units);
}

// Of both lists only one record is wanted, so only its texts are taken over.
void addServerText(GameAccelInfo& info) {
  const std::vector<ServerRecord> servers = fetchServerRecords(info.gameId, info.areaId);
  const auto server = std::ranges::find_if(servers, [&info](const ServerRecord& record) {
    return isFixedText(record.serverKey, info.serverKey);
  });
  if (server != servers.end()) info.serverText = fixedText(server->serverText);
}

void addNode(GameAccelInfo& info) {
  const std::vector<NodeRecord> nodes = fetchNodeRecords(info.gameId, info.areaId, info.serverKey);
  const auto node = std::ranges::find_if(
      nodes, [&info](const NodeRecord& record) { return record.nodeId == info.nodeId; });
  if (node == nodes.end()) return;
  info.nodeText = fixedText(node->nodeText);
  info.nodeValue1 = node->nodeValue1;
  info.nodeValue2 = node->nodeValue2;
}

}  // namespace

std::optional<LastAccelInfo> AccelSdk::GetGameLastAccelInfo(std::uint32_t gameId) const {
  if (!IsInitialised()) return std::nullopt;
  const auto getLastAccelInfo = kernelFunctions.get<KernelFunction::Kernel_GetGameLastAccelInfo>();
  if (getLastAccelInfo == nullptr) return std::nullopt;

  wchar_t infoText[kTextCapacity] = {};
  wchar_t serverKey[kTextCapacity] = {};
  LastAccelInfo last;
  std::uint8_t infoFlag = 0;
  if (getLastAccelInfo(gameId, &last.areaId, infoText, kTextCapacity, serverKey, kTextCapacity,
                       &last.nodeId, &infoFlag, &last.infoValue) == 0) {
    return std::nullopt;
  }
  last.infoText = terminatedText(infoText);
  last.serverKey = terminatedText(serverKey);
  last.infoFlag = infoFlag != 0;
  return last;
}

std::optional<GameData> AccelSdk::GetGameDataFromGameID(std::uint32_t gameId) const {
  const auto getGameData = kernelFunctions.get<KernelFunction::Kernel_GetGameDataFromGameID>();
  if (getGameData == nullptr) return std::nullopt;
  alignas(8) GameDataRecord record = {};  // For its text, as in GetAccelData.
  if (getGameData(gameId, &record) == 0) return std::nullopt;
  return GameData{record.number, fixedText(record.gameText)};
}

std::optional<GameAccelInfo> AccelSdk::GetGameAccelInfo(std::uint32_t gameId) const {
  if (!IsInitialised()) return std::nullopt;
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
  if (std::optional<GameData> game = GetGameDataFromGameID(gameId)) {
    info.gameText = std::move(game->gameText);
  }
  if (info.serverKey.empty()) return info;
  addServerText(info);
  // Ids are unsigned everywhere else; "no node" may be 0 or negative.
  if (static_cast<std::int32_t>(info.nodeId) >= 1) addNode(info);
  return info;
}

}  // namespace orva_accelerator::sdk
