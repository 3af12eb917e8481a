// The service's one binding to the acceleration library.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sdk/accel_result.h"
#include "sdk/completions.h"

namespace orva_accelerator::sdk {

struct AccelSdkImpl;

struct SdkInitParams {
  std::uint32_t channelId = 1;
  std::uint32_t channelNumber = 0;
  std::wstring channelName;
};

// Results of AccelSdk::Init; clients receive them as they are.
enum SdkInitResult : int {
  SdkInitialised = 1,  // Also when it already was.
  SdkLibraryNotLoaded = -1,
  SdkFunctionsNotResolved = -2,
};

// There is one object a process. All operations may be called from any thread, several at once.
// None of them but Init loads the library, and all treat an entry point that is not there as a
// refusal by the library.
class AccelSdk {
 public:
  // Creates the object at the first call. It lives until the process exits, which frees the
  // library.
  static AccelSdk& Instance();

  AccelSdk(const AccelSdk&) = delete;
  AccelSdk& operator=(const AccelSdk&) = delete;
  ~AccelSdk();

  // Loads accel_sdk\sdk_x64\OpenKernel.dll from beside the executable unless it is loaded already,
  // resolves its functions and initialises it. While initialised: returns SdkInitialised at once
  // and ignores the parameters. Ends the process when the library lacks a function.
  int Init(const SdkInitParams& params);

  // Marks the binding as not initialised. The library stays loaded, a running acceleration goes
  // on, and the next Init initialises the library anew.
  void Release();

  bool IsInitialised() const;

  // True: the library took the request; `callback` will be called with its outcome. False: it did
  // not, and whoever was waiting for an earlier login still is.
  //
  // The callback is installed only after the library's call has returned. A completion that the
  // library delivers inside that call therefore reaches the previous login's callback, or nobody;
  // clients have come to depend on it.
  bool UserLoginFromAccount(const std::wstring& account, const std::wstring& credential,
                            CodeResultCallback callback);

  // Makes `callback` the target of every start result from now on.
  void SetAccelResultCallback(AccelResultCallback callback);

  // True: the library took the request; `callback` will be called with its results, and no
  // callback of an earlier start any more. Throws as ParseNodeSelection does.
  bool StartAccel(std::uint32_t startArg1, std::uint32_t startArg2, const std::wstring& startText,
                  const std::wstring& nodeSelection, std::uint32_t startArg3,
                  AccelResultCallback callback);
  bool StartAccelEx(std::uint32_t startArg1, std::uint32_t startArg2, const std::wstring& startText,
                    const std::wstring& nodeSelection, std::uint32_t startArg3,
                    std::uint32_t startArg4, AccelResultCallback callback);

  // True: the library took the request. `callback` replaces that of an earlier stop even when the
  // library refuses this one. An empty callback is refused.
  bool StopAccel(CodeResultCallback callback);

 private:
  AccelSdk();

  std::unique_ptr<AccelSdkImpl> impl_;
};

}  // namespace orva_accelerator::sdk
