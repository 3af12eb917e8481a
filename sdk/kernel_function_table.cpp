#include "sdk/kernel_function_table.h"

#include <bit>
#include <cstdlib>
#include <string>

namespace orva_accelerator::sdk {

const std::array<const char*, kKernelFunctionCount> kKernelFunctionNames = {
#define ORVA_KERNEL_NAME(name) #name,
    ORVA_KERNEL_FUNCTIONS(ORVA_KERNEL_NAME)
#undef ORVA_KERNEL_NAME
};

KernelFunctionTable kernelFunctions;

namespace {

// UTF-8 bytes handed to the ANSI function as they are: what the box shows depends on the PC's code
// page, and support staff know both readings.
constexpr char kMissingFunctionCaption[] = "\xE6\x8F\x90\xE7\xA4\xBA";

// user32.dll is loaded for the box alone: importing it would cost every start of the service half
// as much again.
void showMissingFunction(const char* text) {
  const HMODULE user32 = LoadLibraryExW(L"user32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (user32 == nullptr) return;
  const auto messageBox =
      std::bit_cast<decltype(&MessageBoxA)>(GetProcAddress(user32, "MessageBoxA"));
  if (messageBox == nullptr) return;
  // Whatever became of the box, the process ends.
  (void)messageBox(nullptr, text, kMissingFunctionCaption, MB_OK);
}

[[noreturn]] void exitBecauseFunctionIsMissing(const char* name) {
  const std::string text = std::string("dll not found api - \"") + name + "\"";
  OutputDebugStringA(text.c_str());
  showMissingFunction(text.c_str());
  // No second thread gets here: this one keeps the binding's mutex to the end. Other requests still
  // run, see AccelSdkImpl::closeForGood.
  // NOLINTNEXTLINE(concurrency-mt-unsafe)
  std::exit(-1);
}

}  // namespace

bool ResolveKernelFunctions(HMODULE module) {
  for (std::size_t slot = 0; slot < kKernelFunctionCount; ++slot) {
    const FARPROC entry = GetProcAddress(module, kKernelFunctionNames[slot]);
    if (entry == nullptr) exitBecauseFunctionIsMissing(kKernelFunctionNames[slot]);
    kernelFunctions.set(slot, entry);
  }
  return true;
}

}  // namespace orva_accelerator::sdk
