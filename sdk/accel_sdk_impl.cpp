#include "sdk/accel_sdk_impl.h"

#include <utility>

#include "sdk/kernel_function_table.h"
#include "win32/executable_path.h"

namespace orva_accelerator::sdk {

namespace {

constexpr wchar_t kLibraryBelowExecutable[] = L"\\accel_sdk\\sdk_x64\\OpenKernel.dll";

// As full as the path of the executable is: the system's search order would let whoever plants an
// OpenKernel.dll in a searched directory run code as LocalSystem. A path that was cut leads to a
// file below the folder in which the cut fell, where no other account may write either.
std::wstring libraryPathFor(const std::wstring& executablePath) {
  const std::size_t separator = executablePath.find_last_of(L"\\/");
  return executablePath.substr(0, separator) + kLibraryBelowExecutable;
}

// What the library imports, and what it loads itself by a bare name, is looked for beside the
// executable, beside the library and in the system's folder from now on, and no longer in the
// working directory or along the PATH, where a folder that others may write would be code as
// LocalSystem.
HMODULE loadLibrary(const std::wstring& path) {
  if (!SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS)) return nullptr;
  // Fails for a folder that is not there or a path that is not full; the library is then not there
  // either.
  const DLL_DIRECTORY_COOKIE ownFolder =
      AddDllDirectory(path.substr(0, path.find_last_of(L'\\')).c_str());
  const HMODULE library = LoadLibraryW(path.c_str());
  if (library == nullptr && ownFolder != nullptr) {
    // Nothing to do about a failure: the next attempt adds the folder once more.
    (void)RemoveDllDirectory(ownFolder);
  }
  return library;
}

}  // namespace

int AccelSdkImpl::Init(const SdkInitParams& params) {
  const std::lock_guard lock(mutex);
  if (initialised) return SdkInitialised;
  if (closed_) return SdkLibraryNotLoaded;

  // Without a path loading fails.
  const std::wstring executablePath = win32::ownExecutablePath().value_or(std::wstring());
  if (!module) {
    module.reset(loadLibrary(libraryPathFor(executablePath)));
    if (!module) return SdkLibraryNotLoaded;
  }
  if (!ResolveKernelFunctions(module.get())) {
    module.reset();
    return SdkFunctionsNotResolved;
  }

  // Neither result is looked at: a library that cannot initialise itself says so in the answers to
  // the operations that need it.
  (void)kernelFunctions.call<KernelFunction::Kernel_Init>(executablePath.c_str());
  (void)kernelFunctions.call<KernelFunction::Kernel_SetSdkChannelNumber>(
      params.channelId, params.channelNumber, params.channelName.c_str());

  channelId = params.channelId;
  channelNumber = params.channelNumber;
  channelName = params.channelName;
  initialised = true;
  return SdkInitialised;
}

void AccelSdkImpl::Release() {
  const std::lock_guard lock(mutex);
  initialised = false;
}

void AccelSdkImpl::SetAccelResultCallback(AccelResultCallback callback) {
  const std::lock_guard lock(mutex);
  accelResultCallback = callback;
  accelResultHandler.install(std::move(callback));
}

void AccelSdkImpl::SetStopResultCallback(CodeResultCallback callback) {
  const std::lock_guard lock(mutex);
  stopResultCallback = callback;
  stopResultHandler.install(std::move(callback));
}

void AccelSdkImpl::closeForGood() {
  closed_ = true;
  initialised = false;
  if (!module) return;
  // Connection threads may still run: they must not call what is unloaded.
  kernelFunctions.clear();
  module.reset();
}

}  // namespace orva_accelerator::sdk
