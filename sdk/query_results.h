// What the queries of AccelSdk answer. Every number starts as 0 and every text empty.
//
// What the numbered fields mean is the library's business; the service passes them on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sdk/kernel_records.h"

namespace orva_accelerator::sdk {

// The figures of the running acceleration. Of the record's texts only text3 is taken over, and
// neither its flag nor value7: clients are sent nothing else. The other texts stay empty.
struct AccelDataInfo {
  std::uint32_t value1 = 0;
  std::uint32_t value2 = 0;
  std::wstring text1;
  std::uint32_t value3 = 0;
  std::wstring text2;
  std::wstring text3;
  std::wstring text4;
  std::uint32_t value4 = 0;
  std::wstring text5;
  std::uint32_t value5 = 0;
  std::uint32_t value6 = 0;
  std::uint64_t value8 = 0;
  std::uint32_t value9 = 0;
  std::uint32_t value10 = 0;
};

// How a game was last accelerated.
struct LastAccelInfo {
  std::uint32_t areaId = 0;
  std::wstring infoText;
  std::wstring serverKey;  // Names a server of the area; empty for none.
  std::uint32_t nodeId = 0;
  bool infoFlag = false;
  std::uint32_t infoValue = 0;
};

// The latest speed test of a server. Never without entries.
struct TestSpeedData {
  TestSpeedSummary summary = {};
  std::vector<TestSpeedEntry> entries;
};

// The lists hand out the library's records as they are; `textOf` reads their texts.
using ServerEntry = ServerRecord;
using NodeEntry = NodeRecord;
using UsedNodeInfo = UsedNodeRecord;

// LastAccelInfo with the texts to show for it.
struct GameAccelInfo {
  std::uint32_t gameId = 0;
  std::wstring gameText;
  std::uint32_t areaId = 0;
  std::wstring infoText;
  std::wstring serverKey;
  std::wstring serverText;
  std::uint32_t nodeId = 0;
  std::wstring nodeText;
  bool infoFlag = false;
  std::uint32_t infoValue = 0;
  // Nothing fills these two. Clients have a place for them, so they are sent, as zeros.
  std::uint32_t reservedWord = 0;
  std::uint64_t reservedLong = 0;
  std::uint32_t nodeValue1 = 0;
  std::uint32_t nodeValue2 = 0;
};

}  // namespace orva_accelerator::sdk
