#include "sdk/accel_sdk_impl.h"

#include <cwchar>
#include <iterator>

#include "sdk/kernel_function_table.h"

namespace orva_accelerator::sdk {

namespace {

// Longer paths are cut by the system call, and the library is then not found.
constexpr DWORD kPathCapacity = 260;
constexpr wchar_t kLibraryBelowExecutable[] = L"\\accel_sdk\\sdk_x64\\OpenKernel.dll";

std::wstring ownExecutablePath() {
  wchar_t path[kPathCapacity] = {};
  (void)GetModuleFileNameW(nullptr, path,
                           kPathCapacity);  // On failure the path is empty and loading fails.
  return {path, wcsnlen(path, std::size(path))};
}

// Always a full path: the system's search order would let whoever plants an OpenKernel.dll in a
// searched directory run code as LocalSystem.
std::wstring libraryPathFor(const std::wstring& executablePath) {
  const std::size_t separator = executablePath.find_last_of(L"\\/");
  return executablePath.substr(0, separator) + kLibraryBelowExecutable;
}

}  // namespace

int AccelSdkImpl::Init(const SdkInitParams& params) {
  const std::lock_guard lock(mutex);
  if (initialised) return SdkInitialised;

  const std::wstring executablePath = ownExecutablePath();
  if (module == nullptr) {
    module = LoadLibraryW(libraryPathFor(executablePath).c_str());
    if (module == nullptr) return SdkLibraryNotLoaded;
  }
  if (!ResolveKernelFunctions(module)) {
    (void)FreeLibrary(module);  // Whether or not it could be freed, it is not used any more.
    module = nullptr;
    return SdkFunctionsNotResolved;
  }

  // Neither result is looked at: a library that cannot initialise itself says so in the answers to
  // the operations that need it.
  if (const auto init = kernelFunctions.get<KernelFunction::Kernel_Init>()) {
    (void)init(executablePath.c_str());
  }
  if (const auto setChannel = kernelFunctions.get<KernelFunction::Kernel_SetSdkChannelNumber>()) {
    (void)setChannel(params.channelId, params.channelNumber, params.channelName.c_str());
  }

  channelId = params.channelId;
  channelNumber = params.channelNumber;
  channelName = params.channelName;
  initialised = true;
  return SdkInitialised;
}

AccelSdkImpl::~AccelSdkImpl() {
  if (module == nullptr) return;
  // Connection threads may still run while the process exits: they must not call what is unloaded.
  kernelFunctions.clear();
  (void)FreeLibrary(module);  // The process ends; nothing can be done about a failure.
  module = nullptr;
}

}  // namespace orva_accelerator::sdk
