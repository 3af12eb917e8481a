// The figures of the acceleration, of the console and of a speed test.

#include "sdk/accel_sdk.h"
#include "sdk/kernel_function_table.h"
#include "sdk/record_reading.h"

namespace orva_accelerator::sdk {

AccelDataInfo AccelSdk::GetAccelData() const {
  if (!IsInitialised()) return {};
  // A packed record may start anywhere; its texts are read as units, which may not.
  alignas(8) AccelDataRecord record = {};
  if (!kernelFunctions.call<KernelFunction::Kernel_GetAccelData>(&record)) return {};

  AccelDataInfo data;
  data.value1 = record.value1;
  data.value2 = record.value2;
  data.value3 = record.value3;
  data.text3 = textOf(record.text3);
  data.value4 = record.value4;
  data.value5 = record.value5;
  data.value6 = record.value6;
  data.value8 = record.value8;
  data.value9 = record.value9;
  data.value10 = record.value10;
  return data;
}

ConsoleDataRecord AccelSdk::GetConsoleData() const {
  if (!IsInitialised()) return {};
  ConsoleDataRecord record = {};
  // What a refused call wrote all the same is not used.
  if (!kernelFunctions.call<KernelFunction::Kernel_GetConsoleData>(&record)) return {};
  return record;
}

std::optional<TestSpeedData> AccelSdk::GetTestSpeedData(std::uint32_t gameId, std::uint32_t areaId,
                                                        const std::wstring& serverKey,
                                                        std::uint32_t testOption) const {
  if (!IsInitialised()) return std::nullopt;
  TestSpeedData data;
  data.entries = fetchRecords<TestSpeedEntry>([&](TestSpeedEntry* entries, std::uint32_t* count) {
    return kernelFunctions.call<KernelFunction::Kernel_GetTestSpeedData_V2>(
        gameId, areaId, serverKey.c_str(), testOption, &data.summary, entries, count);
  });
  // Whatever the calls returned: a test without a positive first word or without entries is none.
  if (static_cast<std::int32_t>(data.summary.summary[0]) < 1) return std::nullopt;
  if (data.entries.empty()) return std::nullopt;
  return data;
}

}  // namespace orva_accelerator::sdk
