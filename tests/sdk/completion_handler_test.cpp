// The life of a callable that is replaced while it runs.
#include "sdk/completions.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "sdk/accel_sdk.h"
#include "sdk/completions.h"
#include "sdk/kernel_function_table.h"
#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

using Handler = sdk::CompletionHandler<int>;

// Counts the callables that are alive.
class Witness {
 public:
  explicit Witness(std::atomic<int>& alive) : alive_(&alive) { ++*alive_; }
  Witness(const Witness& other) : alive_(other.alive_) { ++*alive_; }
  Witness& operator=(const Witness&) = delete;
  ~Witness() { --*alive_; }

 private:
  std::atomic<int>* alive_;
};

TEST(CompletionHandler, IsEmptyAtFirstAndDoesNothing) {
  const Handler handler;
  EXPECT_FALSE(handler);
  handler(1);
}

TEST(CompletionHandler, CallsTheOneInstalledLast) {
  Handler handler;
  std::string heard;
  handler.install([&](int code) { heard += "a" + std::to_string(code); });
  handler(1);
  handler.install([&](int code) { heard += "b" + std::to_string(code); });
  handler(2);
  handler(3);
  EXPECT_EQ(heard, "a1b2b3");
}

TEST(CompletionHandler, IsEmptyAgainWhenAnEmptyFunctionIsInstalled) {
  Handler handler;
  handler.install([](int) { FAIL(); });
  EXPECT_TRUE(handler);
  handler.install({});
  EXPECT_FALSE(handler);
  handler(1);
}

TEST(CompletionHandler, DestroysAReplacedCallableAtOnceWhenItIsNotRunning) {
  Handler handler;
  std::atomic<int> alive = 0;
  handler.install([witness = Witness(alive)](int) {});
  EXPECT_EQ(alive, 1);
  handler.install([](int) {});
  EXPECT_EQ(alive, 0);
}

TEST(CompletionHandler, KeepsACallableThatReplacesItselfUntilItReturns) {
  Handler handler;
  std::atomic<int> alive = 0;
  int aliveAfterReplacement = -1;
  handler.install([&, witness = Witness(alive), text = std::string(100, 'x')](int) {
    handler.install([](int) {});
    aliveAfterReplacement = alive;
    EXPECT_EQ(text, std::string(100, 'x'));
  });
  handler(1);
  EXPECT_EQ(aliveAfterReplacement, 1);
  EXPECT_EQ(alive, 0);
}

TEST(CompletionHandler, KeepsACallableThatAnotherThreadReplacesUntilItReturns) {
  Handler handler;
  std::atomic<int> alive = 0;
  std::atomic<bool> running = false;
  std::atomic<bool> replaced = false;
  handler.install([&, witness = Witness(alive), text = std::string(100, 'x')](int) {
    running = true;
    EXPECT_TRUE(waitUntil([&] { return replaced.load(); }));
    EXPECT_EQ(text, std::string(100, 'x'));
    EXPECT_EQ(alive, 1);
  });
  std::thread completing([&] { handler(1); });
  EXPECT_TRUE(waitUntil([&] { return running.load(); }));
  handler.install({});
  EXPECT_EQ(alive, 1);
  replaced = true;
  completing.join();
  EXPECT_EQ(alive, 0);
}

TEST(CompletionHandler, DestroysItsCallableWithItself) {
  std::atomic<int> alive = 0;
  {
    Handler handler;
    handler.install([witness = Witness(alive)](int) {});
  }
  EXPECT_EQ(alive, 0);
}

// A callable of the size of a real one and larger than what a function object holds in itself, so
// that a replaced one leaves freed memory behind.
struct Listener {
  std::array<std::uint64_t, 8> marks;
  std::atomic<std::uint64_t>* calls;
  std::atomic<std::uint64_t>* damaged;

  void operator()(int /*code*/, const std::wstring& message) const {
    ++*calls;
    for (const std::uint64_t mark : marks) {
      if (mark != marks[0]) ++*damaged;
    }
    if (!message.empty()) ++*damaged;
  }
};

std::uint8_t acceptLogin(void*, const wchar_t*, const wchar_t*,
                         sdk::KernelCodeCompletion completion) {
  completion(nullptr, 0, nullptr);
  return 1;
}

TEST(CompletionHandler, SurvivesThousandsOfLoginsThatRaceWithCompletions) {
  constexpr int kLoginThreads = 4;
  constexpr int kCompletionThreads = 4;
  constexpr std::uint64_t kLogins = 2'000;  // A thread.
  sdk::kernelFunctions.set(
      static_cast<std::size_t>(sdk::KernelFunction::Kernel_UserLoginFromAccount),
      reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(acceptLogin)));
  std::atomic<std::uint64_t> calls = 0;
  std::atomic<std::uint64_t> damaged = 0;
  std::atomic<std::uint64_t> accepted = 0;
  std::atomic<int> loggingIn = kLoginThreads;

  std::vector<std::thread> threads;
  for (int thread = 0; thread < kLoginThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::uint64_t login = 0; login < kLogins; ++login) {
        Listener listener = {{}, &calls, &damaged};
        listener.marks.fill(static_cast<std::uint64_t>(thread) * kLogins + login + 1);
        if (sdk::AccelSdk::Instance().UserLoginFromAccount(L"account", L"credential", listener)) {
          ++accepted;
        }
      }
      --loggingIn;
    });
  }
  for (int thread = 0; thread < kCompletionThreads; ++thread) {
    threads.emplace_back([&] {
      while (loggingIn != 0) sdk::OnLoginResult(nullptr, 1, nullptr);
    });
  }
  for (std::thread& thread : threads) thread.join();
  sdk::kernelFunctions.clear();
  sdk::loginResultHandler.install({});

  EXPECT_EQ(accepted, kLoginThreads * kLogins);
  EXPECT_EQ(damaged, 0U);
  // All inline completions but those before the first installation have reached somebody.
  EXPECT_GE(calls, kLoginThreads * (kLogins - 1));
}

}  // namespace
}  // namespace orva_accelerator::test
