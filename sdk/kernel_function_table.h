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

// The type of a function that the service calls, as a pointer. The others have none on purpose.
template <KernelFunction F>
struct KernelSignature;
#define ORVA_KERNEL_SIGNATURE(name, ...)         \
  template <>                                    \
  struct KernelSignature<KernelFunction::name> { \
    using Type = signature::name;                \
  };
ORVA_CALLED_KERNEL_FUNCTIONS(ORVA_KERNEL_SIGNATURE)
#undef ORVA_KERNEL_SIGNATURE

// Written by ResolveKernelFunctions under the binding's mutex, read by every caller without one.
class KernelFunctionTable {
 public:
  // False also for a function that is not there: its callers cannot tell that from a refusal.
  template <KernelFunction F, typename... Arguments>
  bool call(Arguments... arguments) const {
    const auto function = get<F>();
    return function != nullptr && function(arguments...) != 0;
  }

  // Null until resolved.
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
