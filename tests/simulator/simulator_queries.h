// Asking the simulated library, the way the service does.
#pragma once

#include <vector>

#include "tests/simulator/loaded_simulator.h"

namespace orva_accelerator::test {

// Up to the first terminator, or the whole array. Records are packed: a local one is aligned, so
// that a reference may be bound to its arrays.
template <typename Unit, std::size_t units>
std::wstring textOf(const Unit (&array)[units]) {
  std::wstring text;
  for (const Unit unit : array) {
    if (unit == 0) break;
    text += static_cast<wchar_t>(unit);
  }
  return text;
}

struct LastAccelAnswer {
  sdk::KernelBool result = 0;
  std::uint32_t areaId = 0;
  wchar_t infoText[256] = {};
  wchar_t serverKey[256] = {};
  std::uint32_t nodeId = 0;
  std::uint8_t infoFlag = 0;
  std::uint32_t infoValue = 0;
};

class SimulatorQueries : public LoadedSimulator {
 protected:
  LastAccelAnswer lastAccel(std::uint32_t gameId) const {
    LastAccelAnswer answer;
    answer.result = get<sdk::signature::Kernel_GetGameLastAccelInfo>("Kernel_GetGameLastAccelInfo")(
        gameId, &answer.areaId, answer.infoText, 256, answer.serverKey, 256, &answer.nodeId,
        &answer.infoFlag, &answer.infoValue);
    return answer;
  }

  // Both calls of a list function, the way the service makes them. `countResult` is what the
  // counting call returned.
  template <typename Record, typename Function>
  std::vector<Record> fetch(Function function, sdk::KernelBool& countResult) const {
    std::uint32_t count = 0;
    countResult = function(static_cast<Record*>(nullptr), &count);
    if (countResult == 0 || count == 0) return {};
    std::vector<Record> records(count);
    const std::uint32_t capacity = count;
    EXPECT_EQ(function(records.data(), &count), 1);
    EXPECT_LE(count, capacity);
    records.resize(count);
    return records;
  }

  std::vector<sdk::UsedNodeRecord> usedNodes(std::uint32_t gameId) const {
    const auto function =
        get<sdk::signature::Kernel_GetGameUsedNodeDataList>("Kernel_GetGameUsedNodeDataList");
    sdk::KernelBool result = 0;
    return fetch<sdk::UsedNodeRecord>(
        [=](sdk::UsedNodeRecord* records, std::uint32_t* count) {
          return function(gameId, records, count);
        },
        result);
  }

  sdk::AccelDataRecord accelData() const {
    sdk::AccelDataRecord record{};
    EXPECT_EQ(get<sdk::signature::Kernel_GetAccelData>("Kernel_GetAccelData")(&record), 1);
    return record;
  }
};

}  // namespace orva_accelerator::test
