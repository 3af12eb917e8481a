// The library's entry points, as far as they have been resolved.
#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>

#include "sdk/kernel_api.h"
#include "sdk/kernel_function_names.h"

namespace orva_accelerator::sdk {

// One enumerator a name, in resolution order; its value is the slot in the table.
enum class KernelFunction : std::size_t {
#define ORVA_KERNEL_ENUMERATOR(name) name,
  ORVA_KERNEL_FUNCTIONS(ORVA_KERNEL_ENUMERATOR)
#undef ORVA_KERNEL_ENUMERATOR
      Count
};

inline constexpr std::size_t kKernelFunctionCount = static_cast<std::size_t>(KernelFunction::Count);
static_assert(kKernelFunctionCount == 101);

// ASCII names by slot.
extern const std::array<const char*, kKernelFunctionCount> kKernelFunctionNames;

// Signatures of the functions that the service calls; the others have none on purpose.
template <KernelFunction F>
struct KernelSignature;

template <>
struct KernelSignature<KernelFunction::Kernel_Init> {
  using Type = KernelInit;
};
template <>
struct KernelSignature<KernelFunction::Kernel_SetSdkChannelNumber> {
  using Type = KernelSetSdkChannelNumber;
};
template <>
struct KernelSignature<KernelFunction::Kernel_UserLoginFromAccount> {
  using Type = KernelUserLoginFromAccount;
};
template <>
struct KernelSignature<KernelFunction::Kernel_StartAccel> {
  using Type = KernelStartAccel;
};
template <>
struct KernelSignature<KernelFunction::Kernel_StartAccelEx> {
  using Type = KernelStartAccelEx;
};
template <>
struct KernelSignature<KernelFunction::Kernel_StopAccel> {
  using Type = KernelStopAccel;
};
template <>
struct KernelSignature<KernelFunction::Kernel_GetAccelData> {
  using Type = KernelGetAccelData;
};
template <>
struct KernelSignature<KernelFunction::Kernel_GetConsoleData> {
  using Type = KernelGetConsoleData;
};
template <>
struct KernelSignature<KernelFunction::Kernel_GetGameDataFromGameID> {
  using Type = KernelGetGameDataFromGameID;
};
template <>
struct KernelSignature<KernelFunction::Kernel_GetGameLastAccelInfo> {
  using Type = KernelGetGameLastAccelInfo;
};
template <>
struct KernelSignature<KernelFunction::Kernel_GetGameServerDataList> {
  using Type = KernelGetGameServerDataList;
};
template <>
struct KernelSignature<KernelFunction::Kernel_GetGameNodeDataList> {
  using Type = KernelGetGameNodeDataList;
};
template <>
struct KernelSignature<KernelFunction::Kernel_GetGameUsedNodeDataList> {
  using Type = KernelGetGameUsedNodeDataList;
};
template <>
struct KernelSignature<KernelFunction::Kernel_GetTestSpeedData_V2> {
  using Type = KernelGetTestSpeedDataV2;
};

// Written by ResolveKernelFunctions under the binding's mutex, read by every wrapper without one.
class KernelFunctionTable {
 public:
  // Null until resolved. Every wrapper treats null as a refusal by the library.
  template <KernelFunction F>
  typename KernelSignature<F>::Type get() const {
    const FARPROC entry = entries_[static_cast<std::size_t>(F)].load(std::memory_order_acquire);
    // By way of void (*)(): a direct cast between function types is what compilers warn about.
    return reinterpret_cast<typename KernelSignature<F>::Type>(reinterpret_cast<void (*)()>(entry));
  }

  void set(std::size_t slot, FARPROC entry) {
    entries_[slot].store(entry, std::memory_order_release);
  }
  void clear() {
    for (auto& entry : entries_) entry.store(nullptr, std::memory_order_release);
  }

 private:
  std::array<std::atomic<FARPROC>, kKernelFunctionCount> entries_{};
};

extern KernelFunctionTable kernelFunctions;

// Fills the table from `module`, in the order of the list, and returns true. A missing name means
// a library that does not fit this service: the process shows a message box with the name, waits
// until it is dismissed, and exits with code -1.
bool ResolveKernelFunctions(HMODULE module);

}  // namespace orva_accelerator::sdk
