#include "sdk/accel_sdk.h"
#include "sdk/kernel_function_table.h"
#include "sdk/list_fetch.h"

namespace orva_accelerator::sdk {

std::optional<TestSpeedData> AccelSdk::GetTestSpeedData(std::uint32_t gameId, std::uint32_t areaId,
                                                        const std::wstring& serverKey,
                                                        std::uint32_t testOption) const {
  if (!IsInitialised()) return std::nullopt;
  const auto getTestSpeedData = kernelFunctions.get<KernelFunction::Kernel_GetTestSpeedData_V2>();
  if (getTestSpeedData == nullptr) return std::nullopt;

  TestSpeedData data;
  data.entries = fetchRecords<TestSpeedEntry>([&](TestSpeedEntry* entries, std::uint32_t* count) {
    return getTestSpeedData(gameId, areaId, serverKey.c_str(), testOption, &data.summary, entries,
                            count);
  });
  // Whatever the calls returned: a test without a positive first word or without entries is none.
  if (static_cast<std::int32_t>(data.summary.summary[0]) < 1) return std::nullopt;
  if (data.entries.empty()) return std::nullopt;
  return data;
}

}  // namespace orva_accelerator::sdk
