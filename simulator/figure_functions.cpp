// Acceleration data, which moves while something is accelerated, and console data, which does not.
#include <cstring>

#include "simulator/accelerator.h"
#include "simulator/call.h"
#include "simulator/exports.h"

using orva_accelerator::sdk::AccelDataRecord;
using orva_accelerator::sdk::ConsoleDataRecord;
using orva_accelerator::sdk::KernelBool;
using namespace orva_accelerator::simulator;

namespace {

// The reader of the scenario has made sure that every patch lies inside its record.
template <typename Record>
void apply(const std::vector<RecordPatch>& patches, Record& record) {
  auto* bytes = reinterpret_cast<std::uint8_t*>(&record);
  for (const RecordPatch& patch : patches) {
    std::memcpy(bytes + patch.offset, patch.bytes.data(), patch.bytes.size());
  }
}

// One console in bridge mode at 192.168.1.23, port 7850, with a good connection.
constexpr ConsoleDataRecord kUsualConsole{1, 2, 0xC0A80117, 7850, 3, 1};

template <typename Record>
KernelBool answer(const Call& call, Record* target, const std::vector<RecordPatch>& patches,
                  Record record) {
  call.log().pointer("record", target != nullptr).write();
  call.raiseIfAsked();
  const bool failed = target == nullptr;
  if (!failed) {
    apply(patches, record);
    // A refused call fills the record all the same: what it leaves there must not be used.
    *target = record;
  }
  return call.finish(failed);
}

}  // namespace

extern "C" KernelBool Kernel_GetAccelData(AccelDataRecord* record) {
  return guarded([&] {
    const Call call("Kernel_GetAccelData");
    return answer(call, record, call.scenario().catalogue.accelData, currentAccelData());
  });
}

extern "C" KernelBool Kernel_GetConsoleData(ConsoleDataRecord* record) {
  return guarded([&] {
    const Call call("Kernel_GetConsoleData");
    return answer(call, record, call.scenario().catalogue.consoleData, kUsualConsole);
  });
}
