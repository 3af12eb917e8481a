// Replaces functions that the running executable imports, for the failures and the order of events
// that the system will not produce on demand.
//
//   ImportPatch patch("kernel32.dll", "Sleep", +[](DWORD) {});      // a plain function
//
//   ImportHook<decltype(CreateNamedPipeW)> hook("kernel32.dll", "CreateNamedPipeW");
//   hook.failCall(2, ERROR_PIPE_BUSY, INVALID_HANDLE_VALUE);        // a script
//   ...
//   EXPECT_EQ(hook.callCount(), 3u);
//
// A patch reaches calls by name from code linked into this executable, the C++ library included;
// not those of system DLLs among themselves. It is undone by its destructor; of several patches of
// one function the last one made must go first. An import that does not exist fails the test.
//
// Compilers take an import's address for a constant: a function that calls the same import several
// times, or in a loop, reads it once. So make a patch before the code under test is entered (before
// a server with its loops is started), and expect such a loop to call the replacement even when the
// patch is gone: an ImportHook then passes on to the original.
//
// The C++ library's own threads and mutexes use kernel32 as well (CreateEventA, CreateSemaphoreA,
// WaitForSingleObject, Sleep, ...), so a fake of those passes on what it does not want. Functions
// that allocate or free memory cannot be hooked, since recording a call allocates.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/spin_lock.h"

namespace orva_accelerator::test {

// The DLL that the C runtime's functions for threads are imported from.
#ifdef _UCRT
inline constexpr char kThreadRuntime[] = "api-ms-win-crt-runtime-l1-1-0.dll";
#else
inline constexpr char kThreadRuntime[] = "msvcrt.dll";
#endif

// The untyped part of the two below. Does nothing until it is installed.
class RawImportPatch {
 public:
  RawImportPatch(const char* dll, const char* function);
  RawImportPatch(const RawImportPatch&) = delete;
  RawImportPatch& operator=(const RawImportPatch&) = delete;
  ~RawImportPatch();

  // Once.
  void install(void* replacement);

  // Whether the executable imports the function, so that it can be patched.
  bool exists() const { return !slots_.empty(); }
  // What the import led to before; never null for a function that exists.
  void* original() const { return original_; }

 private:
  std::vector<void**> slots_;
  void* original_ = nullptr;
};

// A plain replacement. It may be called on any thread until the patch is gone, and a little longer
// by a thread that was just on its way.
template <typename Function>
class ImportPatch {
 public:
  ImportPatch(const char* dll, const char* function, Function* replacement)
      : patch_(dll, function) {
    patch_.install(reinterpret_cast<void*>(replacement));
  }

  bool installed() const { return patch_.exists(); }
  Function* original() const { return reinterpret_cast<Function*>(patch_.original()); }

 private:
  RawImportPatch patch_;
};

namespace detail {

// How many hooks of one signature may exist at the same time.
inline constexpr std::size_t kHookSlots = 12;

// More hooks than that at once: a mistake in the test, which ends here.
[[noreturn]] void hookSlotsExhausted();

}  // namespace detail

template <typename Signature>
class ImportHook;

// A scripted replacement that counts and records. All members may be called while other threads
// call the function. What it does with a call, in this order: records the arguments, calls the
// observer, fails it if a failure is scripted for it, hands it to the replacement if there is one,
// and otherwise to the original.
//
// Functions without a result cannot fail: for those there is replace.
template <typename Result, typename... Arguments>
class ImportHook<Result(Arguments...)> {
  using FailureResult = std::conditional_t<std::is_void_v<Result>, int, Result>;
  using Function = Result(Arguments...);

  struct Failure {
    std::size_t firstCall;
    std::size_t lastCall;
    DWORD error;
    FailureResult result;
  };

  // Outlives its hook for the threads that are inside, or on their way to it.
  struct State {
    SpinLock lock;
    Function* original = nullptr;
    std::function<Function> replacement;
    std::function<void(Arguments...)> observer;
    std::vector<Failure> failures;
    std::vector<std::tuple<Arguments...>> calls;
  };

 public:
  // Every call from the first to the last, counted from 1.
  static constexpr std::size_t kForEver = static_cast<std::size_t>(-1);

  ImportHook(const char* dll, const char* function)
      : patch_(std::in_place, dll, function), state_(std::make_shared<State>()) {
    // The state is complete before anybody can find it: a latecomer of an old hook may come through
    // the slot as soon as it is taken.
    state_->original = reinterpret_cast<Function*>(patch_->original());
    slot_ = Slots::take(state_);
    patch_->install(reinterpret_cast<void*>(Slots::trampoline(slot_)));
  }
  ImportHook(const ImportHook&) = delete;
  ImportHook& operator=(const ImportHook&) = delete;
  ~ImportHook() {
    patch_.reset();
    Slots::retire(slot_, state_);
  }

  // The given calls, counted from 1 over all threads, return `result` with `error` as last error
  // and reach nobody.
  void failCall(std::size_t call, DWORD error, FailureResult result) {
    failCalls(call, call, error, result);
  }
  void failCalls(std::size_t firstCall, std::size_t lastCall, DWORD error, FailureResult result) {
    const SpinGuard guard(state_->lock);
    state_->failures.push_back({firstCall, lastCall, error, result});
  }
  void failAllCalls(DWORD error, FailureResult result) { failCalls(1, kForEver, error, result); }

  // Ends all scripted failures.
  void succeed() {
    const SpinGuard guard(state_->lock);
    state_->failures.clear();
  }

  // What to do with calls that do not fail by script. It may use callOriginal. The last error that
  // it leaves is the caller's.
  void replace(std::function<Function> replacement) {
    const SpinGuard guard(state_->lock);
    state_->replacement = std::move(replacement);
  }

  // Sees each call before it happens; for arguments that point to something worth copying.
  void observe(std::function<void(Arguments...)> observer) {
    const SpinGuard guard(state_->lock);
    state_->observer = std::move(observer);
  }

  Result callOriginal(Arguments... arguments) const { return originalOf(*state_)(arguments...); }

  bool installed() const { return patch_->exists(); }
  std::size_t callCount() const {
    const SpinGuard guard(state_->lock);
    return state_->calls.size();
  }
  // The arguments of each call in order; pointers are those of the caller and may dangle.
  std::vector<std::tuple<Arguments...>> calls() const {
    const SpinGuard guard(state_->lock);
    return state_->calls;
  }

 private:
  static Function* originalOf(State& state) {
    const SpinGuard guard(state.lock);
    return state.original;
  }

  // Declared first, so that what is destroyed on the way out cannot touch the last error.
  struct LastErrorOnReturn {
    DWORD value = GetLastError();
    ~LastErrorOnReturn() { SetLastError(value); }
  };

  static Result handle(State& state, DWORD& lastError, Arguments... arguments) {
    std::function<Function> replacement;
    std::function<void(Arguments...)> observer;
    std::optional<Failure> failure;
    Function* original = nullptr;
    {
      const SpinGuard guard(state.lock);
      state.calls.emplace_back(arguments...);
      const std::size_t call = state.calls.size();
      for (const Failure& candidate : state.failures) {
        if (call >= candidate.firstCall && call <= candidate.lastCall) failure = candidate;
      }
      replacement = state.replacement;
      observer = state.observer;
      original = state.original;
    }
    if (observer) observer(arguments...);
    if constexpr (std::is_void_v<Result>) {
      replacement ? replacement(arguments...) : original(arguments...);
      lastError = GetLastError();
    } else {
      if (failure) {
        lastError = failure->error;
        return failure->result;
      }
      SetLastError(lastError);
      const Result result = replacement ? replacement(arguments...) : original(arguments...);
      lastError = GetLastError();
      return result;
    }
  }

  // An import is a plain function pointer and carries no state, so each hook of a signature gets a
  // function of its own out of a fixed supply.
  class Slots {
   public:
    static std::size_t take(const std::shared_ptr<State>& state) {
      const SpinGuard guard(lock_);
      for (std::size_t tried = 0; tried < detail::kHookSlots; ++tried) {
        // In turn, so that latecomers of an old hook do not meet a new one.
        const std::size_t slot = next_++ % detail::kHookSlots;
        if (taken_[slot]) continue;
        taken_[slot] = true;
        states_[slot] = state;
        return slot;
      }
      detail::hookSlotsExhausted();
    }

    // The state stays where it is, as a plain way to the original for latecomers.
    static void retire(std::size_t slot, const std::shared_ptr<State>& state) {
      {
        const SpinGuard guard(state->lock);
        state->failures.clear();
        state->replacement = nullptr;
        state->observer = nullptr;
      }
      const SpinGuard guard(lock_);
      taken_[slot] = false;
    }

    static Function* trampoline(std::size_t slot) {
      return trampolines(std::make_index_sequence<detail::kHookSlots>())[slot];
    }

   private:
    template <std::size_t Slot>
    static Result enter(Arguments... arguments) {
      LastErrorOnReturn lastError;
      const std::shared_ptr<State> state = stateOf(Slot);
      return handle(*state, lastError.value, arguments...);
    }

    static std::shared_ptr<State> stateOf(std::size_t slot) {
      const SpinGuard guard(lock_);
      return states_[slot];
    }

    template <std::size_t... Slot>
    static std::array<Function*, sizeof...(Slot)> trampolines(std::index_sequence<Slot...>) {
      return {&enter<Slot>...};
    }

    static inline SpinLock lock_;
    static inline std::size_t next_ = 0;
    static inline std::array<bool, detail::kHookSlots> taken_{};
    // Never destroyed: threads may still come through when the process ends.
    static inline std::shared_ptr<State>* const states_ =
        new std::shared_ptr<State>[detail::kHookSlots];
  };

  std::optional<RawImportPatch> patch_;
  std::shared_ptr<State> state_;
  std::size_t slot_ = 0;
};

}  // namespace orva_accelerator::test
