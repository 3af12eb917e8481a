// The one list of the library's functions that the service calls, and the completion functions that
// it hands out.
//
// The table of functions, the simulated library's exports and the tests' libraries are made from
// the list; it is a macro because both identifiers and strings are made of it. The names of all
// functions that the library must have are in sdk/kernel_function_names.h.
#pragma once

#include <cstdint>

#include "sdk/kernel_records.h"

namespace orva_accelerator::sdk {

// One byte: only the low byte of the return register is defined, so it is compared with 0.
using KernelBool = std::uint8_t;

// The functions that the service hands out. They may be called on any thread of the library, inside
// the call that they complete, or more than once.
//
// Login and stop: (not used, code, not used).
using KernelCodeCompletion = void (*)(void*, int, void*);
// Start: (not used, not used, result).
using KernelAccelCompletion = void (*)(void*, void*, const KernelAccelResult*);

}  // namespace orva_accelerator::sdk

// Applies X(name, parameters...) to each function that the service calls; all return KernelBool.
//
// Strings are null-terminated UTF-16. Init and SetSdkChannelNumber: the result is not looked at.
// Login, start and stop: true when the request was accepted; `context` is null but for a start,
// where it is the service's binding record. GetGameLastAccelInfo: both capacities are in units, and
// 256. Functions with a `count` are called twice: with a null array they store the number of
// records in it; with an array of `count` zeroed records they fill that and store the number
// written.
#define ORVA_CALLED_KERNEL_FUNCTIONS(X)                                                            \
  X(Kernel_Init, const wchar_t* executablePath)                                                    \
  X(Kernel_SetSdkChannelNumber, std::uint32_t channelId, std::uint32_t channelNumber,              \
    const wchar_t* channelName)                                                                    \
  X(Kernel_UserLoginFromAccount, void* context, const wchar_t* account, const wchar_t* credential, \
    KernelCodeCompletion completion)                                                               \
  X(Kernel_StartAccel, void* context, std::uint32_t startArg1, std::uint32_t startArg2,            \
    const wchar_t* startText, KernelBool isAuto, const wchar_t* nodeList, std::uint32_t startArg3, \
    KernelAccelCompletion completion)                                                              \
  X(Kernel_StartAccelEx, void* context, std::uint32_t startArg1, std::uint32_t startArg2,          \
    const wchar_t* startText, KernelBool isAuto, const wchar_t* nodeList, std::uint32_t startArg3, \
    std::uint32_t startArg4, KernelAccelCompletion completion)                                     \
  X(Kernel_StopAccel, void* context, KernelCodeCompletion completion)                              \
  X(Kernel_GetAccelData, AccelDataRecord* record)                                                  \
  X(Kernel_GetConsoleData, ConsoleDataRecord* record)                                              \
  X(Kernel_GetGameDataFromGameID, std::uint32_t gameId, GameDataRecord* record)                    \
  X(Kernel_GetGameLastAccelInfo, std::uint32_t gameId, std::uint32_t* areaId, wchar_t* infoText,   \
    std::uint32_t infoTextCapacity, wchar_t* serverKey, std::uint32_t serverKeyCapacity,           \
    std::uint32_t* nodeId, std::uint8_t* infoFlag, std::uint32_t* infoValue)                       \
  X(Kernel_GetGameServerDataList, std::uint32_t gameId, std::uint32_t areaId,                      \
    ServerRecord* records, std::uint32_t* count)                                                   \
  X(Kernel_GetGameNodeDataList, std::uint32_t gameId, std::uint32_t areaId,                        \
    const wchar_t* serverKey, NodeRecord* records, std::uint32_t* count)                           \
  X(Kernel_GetGameUsedNodeDataList, std::uint32_t gameId, UsedNodeRecord* records,                 \
    std::uint32_t* count)                                                                          \
  X(Kernel_GetTestSpeedData_V2, std::uint32_t gameId, std::uint32_t areaId,                        \
    const wchar_t* serverKey, std::uint32_t testOption, TestSpeedSummary* summary,                 \
    TestSpeedEntry* entries, std::uint32_t* count)

// The types of pointers to them, each by its function's name.
namespace orva_accelerator::sdk::signature {

#define ORVA_KERNEL_TYPE(name, ...) using name = KernelBool (*)(__VA_ARGS__);
ORVA_CALLED_KERNEL_FUNCTIONS(ORVA_KERNEL_TYPE)
#undef ORVA_KERNEL_TYPE

}  // namespace orva_accelerator::sdk::signature
