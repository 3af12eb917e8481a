// The lists that the library keeps about a game.

#include "sdk/accel_sdk.h"
#include "sdk/fixed_text.h"
#include "sdk/game_records.h"
#include "sdk/kernel_function_table.h"
#include "sdk/list_fetch.h"

namespace orva_accelerator::sdk {

namespace {

ServerEntry toEntry(const ServerRecord& record) {
  return {fixedText(record.serverKey), fixedText(record.serverText)};
}

NodeEntry toEntry(const NodeRecord& record) {
  return {record.nodeId, fixedText(record.nodeText), record.nodeValue1, record.nodeValue2,
          record.nodeValue3};
}

UsedNodeInfo toEntry(const UsedNodeRecord& record) {
  return {record.used1,
          record.used2,
          fixedText(record.usedText1),
          record.used3,
          fixedText(record.usedText2),
          record.used4};
}

template <typename Entry, typename Record>
std::vector<Entry> toEntries(const std::vector<Record>& records) {
  std::vector<Entry> entries;
  entries.reserve(records.size());
  for (const Record& record : records) entries.push_back(toEntry(record));
  return entries;
}

}  // namespace

std::vector<ServerRecord> fetchServerRecords(std::uint32_t gameId, std::uint32_t areaId) {
  const auto getServers = kernelFunctions.get<KernelFunction::Kernel_GetGameServerDataList>();
  if (getServers == nullptr) return {};
  return fetchRecords<ServerRecord>([&](ServerRecord* records, std::uint32_t* count) {
    return getServers(gameId, areaId, records, count);
  });
}

std::vector<NodeRecord> fetchNodeRecords(std::uint32_t gameId, std::uint32_t areaId,
                                         const std::wstring& serverKey) {
  const auto getNodes = kernelFunctions.get<KernelFunction::Kernel_GetGameNodeDataList>();
  if (getNodes == nullptr) return {};
  return fetchRecords<NodeRecord>([&](NodeRecord* records, std::uint32_t* count) {
    return getNodes(gameId, areaId, serverKey.c_str(), records, count);
  });
}

std::vector<ServerEntry> AccelSdk::GetGameServerDataList(std::uint32_t gameId,
                                                         std::uint32_t areaId) const {
  return toEntries<ServerEntry>(fetchServerRecords(gameId, areaId));
}

std::vector<NodeEntry> AccelSdk::GetGameNodeDataList(std::uint32_t gameId, std::uint32_t areaId,
                                                     const std::wstring& serverKey) const {
  return toEntries<NodeEntry>(fetchNodeRecords(gameId, areaId, serverKey));
}

std::vector<UsedNodeInfo> AccelSdk::GetGameUsedNodeDataList(std::uint32_t gameId) const {
  const auto getUsedNodes = kernelFunctions.get<KernelFunction::Kernel_GetGameUsedNodeDataList>();
  if (getUsedNodes == nullptr) return {};
  return toEntries<UsedNodeInfo>(
      fetchRecords<UsedNodeRecord>([&](UsedNodeRecord* records, std::uint32_t* count) {
        return getUsedNodes(gameId, records, count);
      }));
}

}  // namespace orva_accelerator::sdk
