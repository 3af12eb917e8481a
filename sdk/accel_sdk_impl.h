// What AccelSdk holds.
#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "sdk/accel_sdk.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::sdk {

// `mutex` guards every field, and only the operations here take it. `initialised` is read without
// it by the operations that only ask: they may see the state of a moment ago, never a torn one.
struct AccelSdkImpl {
  AccelSdkImpl() = default;
  AccelSdkImpl(const AccelSdkImpl&) = delete;
  AccelSdkImpl& operator=(const AccelSdkImpl&) = delete;
  ~AccelSdkImpl() { closeForGood(); }

  int Init(const SdkInitParams& params);
  void Release();
  // Each also makes the callback the target of the library's completions.
  void SetAccelResultCallback(AccelResultCallback callback);
  void SetStopResultCallback(CodeResultCallback callback);

  // Frees the library without shutting it down: Kernel_UnInit is never called. No Init succeeds any
  // more. Takes no lock: the process may be exiting from inside Init, and the mutex stays locked
  // then, so that no other thread gets as far as loading the library a second time.
  void closeForGood();

  std::mutex mutex;
  std::atomic<bool> initialised = false;
  win32::UniqueModule module;  // Kept across Release.

  // What Kernel_SetSdkChannelNumber was last given.
  std::uint32_t channelId = 1;
  std::uint32_t channelNumber = 0;
  std::wstring channelName;

  AccelResultCallback accelResultCallback;
  // Room for the library's other callbacks; no client operation uses them.
  std::array<CodeResultCallback, 4> unusedCallbacks;
  CodeResultCallback stopResultCallback;

 private:
  std::atomic<bool> closed_ = false;
};

}  // namespace orva_accelerator::sdk
