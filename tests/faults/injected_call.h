// One Windows function of which one call fails.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {

// The one failure of a run: which call of which function.
class Fault {
 public:
  // `call` counts from 1. Calls of the constructing thread, which plays the client, never fail.
  Fault(std::string function, std::size_t call) : function_(std::move(function)), call_(call) {}

  // Asked once for each call that may fail; true for the one that does.
  bool strikes(std::string_view function) {
    if (function != function_ || ++count_ != call_) return false;
    struck_ = true;
    // At once and whole: the process may end because of it.
    (void)std::fputs("struck 1\n", stdout);  // A report that is missing fails the test.
    (void)std::fflush(stdout);
    return true;
  }
  bool isClientThread() const { return GetCurrentThreadId() == clientThread_; }
  bool hasStruck() const { return struck_; }
  bool isOf(std::string_view function) const { return function == function_; }

 private:
  std::string function_;
  std::size_t call_;
  DWORD clientThread_ = GetCurrentThreadId();
  std::atomic<std::size_t> count_{0};
  std::atomic<bool> struck_{false};
};

template <typename Signature>
class InjectedCall;

template <typename Result, typename... Arguments>
class InjectedCall<Result(Arguments...)> {
 public:
  using Function = Result(Arguments...);

  // The failing call returns `failure` with `error` as last error.
  InjectedCall(Fault& fault, const char* dll, const char* function, Result failure,
               DWORD error = ERROR_NOT_ENOUGH_MEMORY)
      : fault_(fault), name_(function), failure_(failure), error_(error), hook_(dll, function) {
    hook_.replace([this](Arguments... arguments) { return answer(arguments...); });
  }

  // Set the three before the service starts.
  //
  // Tells the service's own calls from those of the runtime library; all, if empty.
  std::function<bool(Arguments...)> isOwn;
  // What a call does that does not fail; the original function, if empty.
  std::function<Function> works;
  // The failing call does its work and only says that it failed: for calls after whose real failure
  // nobody could do anything.
  bool worksAllTheSame = false;

  Result callOriginal(Arguments... arguments) const { return hook_.callOriginal(arguments...); }

 private:
  Result answer(Arguments... arguments) {
    if (fault_.isClientThread()) return hook_.callOriginal(arguments...);
    if ((isOwn && !isOwn(arguments...)) || !fault_.strikes(name_)) return work(arguments...);
    if (worksAllTheSame) (void)work(arguments...);  // What it says is not what the service is told.
    SetLastError(error_);
    return failure_;
  }
  Result work(Arguments... arguments) {
    return works ? works(arguments...) : hook_.callOriginal(arguments...);
  }

  Fault& fault_;
  const char* name_;
  Result failure_;
  DWORD error_;
  ImportHook<Function> hook_;
};

}  // namespace orva_accelerator::test
