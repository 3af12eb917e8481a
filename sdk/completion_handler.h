// The target of one of the library's completion functions.
//
// The library's callbacks carry no per-call state, so each kind of completion has one process-wide
// handler and the last one installed wins. Completions arrive on the library's own threads while
// requests install new handlers: a completion keeps the callable that it read until it returns,
// and a replaced callable is destroyed when its last running completion has left it.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

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

}  // namespace orva_accelerator::sdk
