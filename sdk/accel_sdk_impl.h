// What AccelSdk holds.
#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "sdk/accel_sdk.h"

namespace orva_accelerator::sdk {

// `mutex` guards every field. `initialised` is read without it by the operations that only ask:
// they may see the state of a moment ago, never a torn one.
struct AccelSdkImpl {
  AccelSdkImpl() = default;
  AccelSdkImpl(const AccelSdkImpl&) = delete;
  AccelSdkImpl& operator=(const AccelSdkImpl&) = delete;
  // Frees the library without shutting it down: Kernel_UnInit is never called.
  ~AccelSdkImpl();

  int Init(const SdkInitParams& params);

  std::mutex mutex;
  std::atomic<bool> initialised = false;
  HMODULE module = nullptr;  // Kept across Release.

  // What Kernel_SetSdkChannelNumber was last given.
  std::uint32_t channelId = 1;
  std::uint32_t channelNumber = 0;
  std::wstring channelName;

  AccelResultCallback accelResultCallback;
  // Room for the library's other callbacks; no client operation uses them.
  std::array<CodeResultCallback, 4> unusedCallbacks;
  CodeResultCallback stopResultCallback;
};

}  // namespace orva_accelerator::sdk
