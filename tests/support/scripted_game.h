// What a fake library knows of one game: where it was last accelerated, and over which servers and
// nodes it can be.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tests/support/fake_kernel.h"
#include "tests/support/kernel_data.h"

namespace orva_accelerator::test {

inline sdk::ServerRecord serverRecord(std::wstring_view key, std::wstring_view text) {
  sdk::ServerRecord record = {};
  setText(record.serverKey, key);
  setText(record.serverText, text);
  return record;
}

inline sdk::NodeRecord nodeRecord(std::uint32_t id, std::wstring_view text, std::uint32_t value1,
                                  std::uint32_t value2, std::uint32_t value3 = 0) {
  sdk::NodeRecord record = {};
  record.nodeId = id;
  setText(record.nodeText, text);
  record.nodeValue1 = value1;
  record.nodeValue2 = value2;
  record.nodeValue3 = value3;
  return record;
}

inline sdk::UsedNodeRecord usedNodeRecord(std::uint32_t used1, std::uint32_t used2,
                                          std::wstring_view text1, std::uint32_t used3,
                                          std::wstring_view text2, std::uint64_t used4) {
  sdk::UsedNodeRecord record = {};
  record.used1 = used1;
  record.used2 = used2;
  setText(record.usedText1, text1);
  record.used3 = used3;
  setText(record.usedText2, text2);
  record.used4 = used4;
  return record;
}

// Answers for this one game and refuses every other. Change it at any time.
struct ScriptedGame {
  std::uint32_t gameId = 1001;

  bool knowsLast = true;
  std::uint32_t areaId = 2;
  std::wstring infoText = L"mode-2";
  std::wstring serverKey = L"asia-1";
  std::uint32_t nodeId = 11;
  std::uint8_t infoFlag = 1;
  std::uint32_t infoValue = 86;

  bool knowsText = true;
  std::wstring gameText = L"Star Arena";

  ScriptedList<sdk::ServerRecord> servers{.records = {serverRecord(L"asia-1", L"Asia 1")}};
  ScriptedList<sdk::NodeRecord> nodes{.records = {nodeRecord(11, L"Node 11", 38, 3)}};
  ScriptedList<sdk::UsedNodeRecord> usedNodes{};
};

inline void answerForGame(FakeKernel& kernel, const std::shared_ptr<const ScriptedGame>& game) {
  using sdk::KernelBool;
  kernel.Kernel_GetGameLastAccelInfo = [game](std::uint32_t id, std::uint32_t* areaId,
                                              wchar_t* infoText, std::uint32_t infoTextCapacity,
                                              wchar_t* serverKey, std::uint32_t serverKeyCapacity,
                                              std::uint32_t* nodeId, std::uint8_t* infoFlag,
                                              std::uint32_t* infoValue) {
    EXPECT_TRUE(isZeroed(infoText, infoTextCapacity));
    EXPECT_TRUE(isZeroed(serverKey, serverKeyCapacity));
    EXPECT_TRUE(isZeroed(areaId) && isZeroed(nodeId) && isZeroed(infoFlag) && isZeroed(infoValue));
    *areaId = game->areaId;
    setText(infoText, infoTextCapacity, game->infoText);
    setText(serverKey, serverKeyCapacity, game->serverKey);
    *nodeId = game->nodeId;
    *infoFlag = game->infoFlag;
    *infoValue = game->infoValue;
    return static_cast<KernelBool>(game->knowsLast && id == game->gameId ? 1 : 0);
  };
  kernel.Kernel_GetGameDataFromGameID = [game](std::uint32_t id, sdk::GameDataRecord* record) {
    EXPECT_TRUE(isZeroed(record));
    record->number = 77;
    setText(record->gameText, game->gameText);
    return static_cast<KernelBool>(game->knowsText && id == game->gameId ? 1 : 0);
  };
  kernel.Kernel_GetGameServerDataList = [game](std::uint32_t, std::uint32_t,
                                               sdk::ServerRecord* records, std::uint32_t* count) {
    return game->servers(records, count);
  };
  kernel.Kernel_GetGameNodeDataList = [game](std::uint32_t, std::uint32_t, const wchar_t*,
                                             sdk::NodeRecord* records, std::uint32_t* count) {
    return game->nodes(records, count);
  };
  kernel.Kernel_GetGameUsedNodeDataList = [game](std::uint32_t, sdk::UsedNodeRecord* records,
                                                 std::uint32_t* count) {
    return game->usedNodes(records, count);
  };
}

}  // namespace orva_accelerator::test
