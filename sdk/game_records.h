// The library's lists about a game as the library lays them out, for who looks for one record.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sdk/kernel_records.h"

namespace orva_accelerator::sdk {

// In the library's order; empty when it refuses or its function is not there. Throw std::bad_alloc
// when the library announces more records than memory can hold.
std::vector<ServerRecord> fetchServerRecords(std::uint32_t gameId, std::uint32_t areaId);
std::vector<NodeRecord> fetchNodeRecords(std::uint32_t gameId, std::uint32_t areaId,
                                         const std::wstring& serverKey);

}  // namespace orva_accelerator::sdk
