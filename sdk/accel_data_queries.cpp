#include "sdk/accel_sdk.h"
#include "sdk/fixed_text.h"
#include "sdk/kernel_function_table.h"

namespace orva_accelerator::sdk {

AccelDataInfo AccelSdk::GetAccelData() const {
  if (!IsInitialised()) return {};
  const auto getAccelData = kernelFunctions.get<KernelFunction::Kernel_GetAccelData>();
  if (getAccelData == nullptr) return {};
  // A packed record may start anywhere; its texts are read as units, which may not.
  alignas(8) AccelDataRecord record = {};
  if (getAccelData(&record) == 0) return {};

  AccelDataInfo data;
  data.value1 = record.value1;
  data.value2 = record.value2;
  data.value3 = record.value3;
  data.text3 = fixedText(record.text3);
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
  const auto getConsoleData = kernelFunctions.get<KernelFunction::Kernel_GetConsoleData>();
  if (getConsoleData == nullptr) return {};
  alignas(8) ConsoleDataRecord record = {};
  if (getConsoleData(&record) == 0) return {};  // What it wrote all the same is not used.
  return record;
}

}  // namespace orva_accelerator::sdk
