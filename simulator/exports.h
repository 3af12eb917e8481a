// The fourteen functions that have a behaviour, declared with the types through which the service
// calls them, so that a definition that differs does not compile.
//
// Nothing here is marked for export: the module definition file, made from the list of names in
// sdk/kernel_function_names.h, is what decides which names the library offers.
#pragma once

#include <type_traits>

#include "sdk/kernel_api.h"

extern "C" {

#define ORVA_SIMULATED(name, type) std::remove_pointer_t<orva_accelerator::sdk::type> name

ORVA_SIMULATED(Kernel_Init, KernelInit);
ORVA_SIMULATED(Kernel_SetSdkChannelNumber, KernelSetSdkChannelNumber);
ORVA_SIMULATED(Kernel_UserLoginFromAccount, KernelUserLoginFromAccount);
ORVA_SIMULATED(Kernel_StartAccel, KernelStartAccel);
ORVA_SIMULATED(Kernel_StartAccelEx, KernelStartAccelEx);
ORVA_SIMULATED(Kernel_StopAccel, KernelStopAccel);
ORVA_SIMULATED(Kernel_GetAccelData, KernelGetAccelData);
ORVA_SIMULATED(Kernel_GetConsoleData, KernelGetConsoleData);
ORVA_SIMULATED(Kernel_GetGameDataFromGameID, KernelGetGameDataFromGameID);
ORVA_SIMULATED(Kernel_GetGameLastAccelInfo, KernelGetGameLastAccelInfo);
ORVA_SIMULATED(Kernel_GetGameServerDataList, KernelGetGameServerDataList);
ORVA_SIMULATED(Kernel_GetGameNodeDataList, KernelGetGameNodeDataList);
ORVA_SIMULATED(Kernel_GetGameUsedNodeDataList, KernelGetGameUsedNodeDataList);
ORVA_SIMULATED(Kernel_GetTestSpeedData_V2, KernelGetTestSpeedDataV2);

#undef ORVA_SIMULATED

}  // extern "C"
