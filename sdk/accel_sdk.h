// The service's one binding to the acceleration library.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sdk/accel_result.h"
#include "sdk/completions.h"
#include "sdk/query_results.h"

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
  // Creates the object at the first call. The end of the process frees the library, not the object.
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

  // Queries. None takes a lock: the library takes calls from several threads at once. While the
  // binding is not initialised they answer as if the library had refused, without asking it, except
  // for the lists, which answer whenever the library is loaded.

  // All zeros and empty when the library refuses.
  AccelDataInfo GetAccelData() const;
  ConsoleDataRecord GetConsoleData() const;

  // Nothing when the library refuses, or does not know the game.
  std::optional<LastAccelInfo> GetGameLastAccelInfo(std::uint32_t gameId) const;

  // Nothing unless the library has entries and the summary's first word, read as signed, is above
  // 0. Throws as the lists do.
  std::optional<TestSpeedData> GetTestSpeedData(std::uint32_t gameId, std::uint32_t areaId,
                                                const std::wstring& serverKey,
                                                std::uint32_t testOption) const;

  // Nothing when GetGameLastAccelInfo has nothing. What else the library does not know of the game
  // stays empty. The server is the first one of its area whose key equals the last acceleration's,
  // unit for unit; the node is the first one of that server with its id.
  std::optional<GameAccelInfo> GetGameAccelInfo(std::uint32_t gameId) const;

  // In the library's order; empty when it refuses. Throw std::bad_alloc when the library announces
  // more records than memory can hold.
  std::vector<UsedNodeInfo> GetGameUsedNodeDataList(std::uint32_t gameId) const;
  std::vector<ServerEntry> GetGameServerDataList(std::uint32_t gameId, std::uint32_t areaId) const;
  std::vector<NodeEntry> GetGameNodeDataList(std::uint32_t gameId, std::uint32_t areaId,
                                             const std::wstring& serverKey) const;

  // Does not ask whether the binding is initialised either.
  std::optional<GameDataRecord> GetGameDataFromGameID(std::uint32_t gameId) const;

 private:
  AccelSdk();

  std::unique_ptr<AccelSdkImpl> impl_;
};

}  // namespace orva_accelerator::sdk
