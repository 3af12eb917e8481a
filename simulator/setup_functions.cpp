// Initialisation: accepted and logged; the scenario is read afresh.
#include "simulator/call.h"
#include "simulator/exports.h"

using orva_accelerator::sdk::KernelBool;
using namespace orva_accelerator::simulator;

extern "C" KernelBool Kernel_Init(const wchar_t* executablePath) {
  return guarded([&] {
    const Call call("Kernel_Init", Turn::Next, ReadScenario::Always);
    call.log().text("executablePath", executablePath).write();
    call.raiseIfAsked();
    return call.finish();
  });
}

extern "C" KernelBool Kernel_SetSdkChannelNumber(std::uint32_t channelId,
                                                 std::uint32_t channelNumber,
                                                 const wchar_t* channelName) {
  return guarded([&] {
    const Call call("Kernel_SetSdkChannelNumber");
    call.log()
        .number("channelId", channelId)
        .number("channelNumber", channelNumber)
        .text("channelName", channelName)
        .write();
    call.raiseIfAsked();
    return call.finish();
  });
}
