// The C-callable completion functions that the library is given, and the process-wide handlers
// that they call.
//
// The library's callbacks carry no per-call state, so each kind of completion has one process-wide
// handler and the last one installed wins. Completions arrive on the library's own threads while
// requests install new handlers: a completion keeps the callable that it read until it returns,
// and a replaced callable is destroyed when its last running completion has left it.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "sdk/accel_result.h"
#include "sdk/kernel_api.h"
#include "win32/race_point.h"

namespace orva_accelerator::sdk {

template <typename... Args>
class CompletionHandler {
 public:
  using Function = std::function<void(Args...)>;

  CompletionHandler() = default;
  CompletionHandler(const CompletionHandler&) = delete;
  CompletionHandler& operator=(const CompletionHandler&) = delete;
  // A library thread that outlives the static objects at process exit finds no handler, rather
  // than the remains of one.
  ~CompletionHandler() { current_.store(nullptr); }

  // Replaces the handler. Callable from any thread.
  void install(Function function) {
    win32::racePoint("race: handler replacement");
    current_.store(function ? std::make_shared<const Function>(std::move(function)) : nullptr);
  }

  // Calls the handler installed last; does nothing when none is. Callable from any thread.
  void operator()(Args... args) const {
    const std::shared_ptr<const Function> handler = current_.load();
    win32::racePoint("race: completion");
    if (handler) (*handler)(args...);
  }

  explicit operator bool() const { return current_.load() != nullptr; }

 private:
  std::atomic<std::shared_ptr<const Function>> current_;
};

using CodeResultHandler = CompletionHandler<int, const std::wstring&>;
using AccelResultHandler = CompletionHandler<const SAccelResult&>;

// Called with the code that the library reported and a message that is always empty: the library's
// other arguments have no agreed meaning and are never read.
using CodeResultCallback = CodeResultHandler::Function;
// Called with every result that the library reports for a start, progress included.
using AccelResultCallback = AccelResultHandler::Function;

extern CodeResultHandler loginResultHandler;
extern CodeResultHandler stopResultHandler;
extern AccelResultHandler accelResultHandler;

// Called by the library, on any of its threads or inside the call that they complete.
void OnLoginResult(void* unused1, int code, void* unused2);
void OnStopResult(void* unused1, int code, void* unused2);
void OnAccelResult(void* context, void* unused, const KernelAccelResult* record);

}  // namespace orva_accelerator::sdk
