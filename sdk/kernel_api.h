// The library's functions that the service calls, and the completion functions it hands out.
//
// "bool" results are one byte: only the low byte of the return register is defined, so they are
// declared as KernelBool and compared with 0. Strings are null-terminated UTF-16. List functions
// are called twice: with a null array they store the number of records in `count`; with an array
// of `count` zeroed records they fill it and store the number written.
//
// Completion functions may be called on any thread of the library, inside the call that they
// complete, or more than once.
#pragma once

#include <cstdint>

#include "sdk/kernel_records.h"

namespace orva_accelerator::sdk {

using KernelBool = std::uint8_t;

// Login and stop: (not used, code, not used).
using KernelCodeCompletion = void (*)(void*, int, void*);
// Start: (not used, not used, result).
using KernelAccelCompletion = void (*)(void*, void*, const KernelAccelResult*);

// executablePath: full path of the service's own executable. The result is not looked at.
using KernelInit = KernelBool (*)(const wchar_t* executablePath);

// The result is not looked at.
using KernelSetSdkChannelNumber = KernelBool (*)(std::uint32_t channelId,
                                                 std::uint32_t channelNumber,
                                                 const wchar_t* channelName);

// `context` is null. True: the request was accepted and `completion` will report its outcome.
using KernelUserLoginFromAccount = KernelBool (*)(void* context, const wchar_t* account,
                                                  const wchar_t* credential,
                                                  KernelCodeCompletion completion);

// `context` is the service's binding record. True: the request was accepted.
using KernelStartAccel = KernelBool (*)(void* context, std::uint32_t startArg1,
                                        std::uint32_t startArg2, const wchar_t* startText,
                                        KernelBool isAuto, const wchar_t* nodeList,
                                        std::uint32_t startArg3, KernelAccelCompletion completion);
using KernelStartAccelEx = KernelBool (*)(void* context, std::uint32_t startArg1,
                                          std::uint32_t startArg2, const wchar_t* startText,
                                          KernelBool isAuto, const wchar_t* nodeList,
                                          std::uint32_t startArg3, std::uint32_t startArg4,
                                          KernelAccelCompletion completion);

// `context` is null. True: the request was accepted.
using KernelStopAccel = KernelBool (*)(void* context, KernelCodeCompletion completion);

using KernelGetAccelData = KernelBool (*)(AccelDataRecord* record);
using KernelGetConsoleData = KernelBool (*)(ConsoleDataRecord* record);
using KernelGetGameDataFromGameID = KernelBool (*)(std::uint32_t gameId, GameDataRecord* record);

// The two capacities are in UTF-16 units and always 256.
using KernelGetGameLastAccelInfo = KernelBool (*)(std::uint32_t gameId, std::uint32_t* areaId,
                                                  wchar_t* infoText, std::uint32_t infoTextCapacity,
                                                  wchar_t* serverKey,
                                                  std::uint32_t serverKeyCapacity,
                                                  std::uint32_t* nodeId, std::uint8_t* infoFlag,
                                                  std::uint32_t* infoValue);

using KernelGetGameServerDataList = KernelBool (*)(std::uint32_t gameId, std::uint32_t areaId,
                                                   ServerRecord* records, std::uint32_t* count);
using KernelGetGameNodeDataList = KernelBool (*)(std::uint32_t gameId, std::uint32_t areaId,
                                                 const wchar_t* serverKey, NodeRecord* records,
                                                 std::uint32_t* count);
using KernelGetGameUsedNodeDataList = KernelBool (*)(std::uint32_t gameId, UsedNodeRecord* records,
                                                     std::uint32_t* count);

// `count` on entry: 0, or the capacity of `entries`.
using KernelGetTestSpeedDataV2 = KernelBool (*)(std::uint32_t gameId, std::uint32_t areaId,
                                                const wchar_t* serverKey, std::uint32_t testOption,
                                                TestSpeedSummary* summary, TestSpeedEntry* entries,
                                                std::uint32_t* count);

}  // namespace orva_accelerator::sdk
