// Logging in, and who hears of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sdk/accel_sdk.h"
#include "sdk/completions.h"
#include "sdk/kernel_function_table.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {
namespace {

using sdk::AccelSdk;
using sdk::KernelBool;
using testing::ElementsAre;
using testing::IsEmpty;

// Pointers that the service must never follow.
void* const kUnreadable1 = reinterpret_cast<void*>(std::uintptr_t{0x10});
void* const kUnreadable2 = reinterpret_cast<void*>(~std::uintptr_t{0});

class Login : public testing::Test {
 protected:
  Login() {
    sdk::loginResultHandler.install({});
    EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
  }
  ~Login() override {
    sdk::loginResultHandler.install({});
    sdk::kernelFunctions.clear();
  }

  // The callback of a login notes its name, the code and the text.
  sdk::CodeResultCallback noteAs(std::string name) {
    return [this, name = std::move(name)](int code, const std::wstring& message) {
      heard.push_back(name + " " + std::to_string(code) +
                      (message.empty() ? "" : " and an unexpected text"));
    };
  }
  bool login(std::string name) {
    return AccelSdk::Instance().UserLoginFromAccount(L"account", L"credential",
                                                     noteAs(std::move(name)));
  }
  void complete(int code) { kernel.loginCompletion()(kUnreadable1, code, kUnreadable2); }
  // What the library answers, and with which code it completes a login before it does.
  void completeInline(int code, bool accept) {
    kernel.Kernel_UserLoginFromAccount = [=](void*, const wchar_t*, const wchar_t*,
                                             sdk::KernelCodeCompletion completion) {
      completion(kUnreadable1, code, kUnreadable2);
      return static_cast<KernelBool>(accept ? 1 : 0);
    };
  }
  void refuse() {
    kernel.Kernel_UserLoginFromAccount = [](auto...) { return KernelBool{0}; };
  }

  FakeKernel kernel;
  std::vector<std::string> heard;
};

TEST_F(Login, PassesBothTextsAndTheCompletionFunction) {
  EXPECT_TRUE(AccelSdk::Instance().UserLoginFromAccount(L"player@orva", L"s3cret;=", noteAs("a")));
  EXPECT_TRUE(AccelSdk::Instance().UserLoginFromAccount(L"\u73A9\u5BB6", L"", noteAs("a")));
  EXPECT_THAT(kernel.calls(),
              ElementsAre("Kernel_UserLoginFromAccount(\"player@orva\", \"s3cret;=\")",
                          "Kernel_UserLoginFromAccount(\"\xE7\x8E\xA9\xE5\xAE\xB6\", \"\")"));
  EXPECT_EQ(kernel.loginCompletion(), &sdk::OnLoginResult);
}

TEST_F(Login, IsToldTheCodeAndAnEmptyText) {
  EXPECT_TRUE(login("first"));
  complete(0);
  complete(-7);
  complete(2'147'483'647);
  EXPECT_THAT(heard, ElementsAre("first 0", "first -7", "first 2147483647"));
}

TEST_F(Login, HearsNothingOfACompletionInsideItsOwnCall) {
  completeInline(5, true);
  EXPECT_TRUE(login("first"));
  EXPECT_THAT(heard, IsEmpty());
  complete(6);
  EXPECT_THAT(heard, ElementsAre("first 6"));
}

TEST_F(Login, LeavesACompletionInsideItsOwnCallToTheLoginBefore) {
  EXPECT_TRUE(login("first"));
  completeInline(5, true);
  EXPECT_TRUE(login("second"));
  EXPECT_THAT(heard, ElementsAre("first 5"));
  complete(6);
  EXPECT_THAT(heard, ElementsAre("first 5", "second 6"));
}

TEST_F(Login, TakesOverTheLateCompletionsOfTheLoginBefore) {
  EXPECT_TRUE(login("first"));
  complete(1);
  EXPECT_TRUE(login("second"));
  complete(1);
  complete(2);
  EXPECT_THAT(heard, ElementsAre("first 1", "second 1", "second 2"));
}

TEST_F(Login, ChangesNothingWhenTheLibraryRefusesIt) {
  refuse();
  EXPECT_FALSE(login("first"));
  complete(1);
  EXPECT_THAT(heard, IsEmpty());
  kernel.Kernel_UserLoginFromAccount = [](auto...) { return KernelBool{1}; };
  EXPECT_TRUE(login("second"));
  refuse();
  EXPECT_FALSE(login("third"));
  complete(2);
  EXPECT_THAT(heard, ElementsAre("second 2"));
}

TEST_F(Login, LeavesTheCompletionOfARefusedCallToTheLoginBefore) {
  EXPECT_TRUE(login("first"));
  completeInline(9, false);
  EXPECT_FALSE(login("second"));
  EXPECT_THAT(heard, ElementsAre("first 9"));
}

TEST_F(Login, IsRefusedWhenTheEntryPointIsMissing) {
  EXPECT_TRUE(login("first"));
  kernel.clearCalls();
  sdk::kernelFunctions.clear();
  EXPECT_FALSE(login("second"));
  EXPECT_THAT(kernel.calls(), IsEmpty());
  complete(3);
  EXPECT_THAT(heard, ElementsAre("first 3"));
}

TEST_F(Login, IsRefusedWithoutAskingTheLibraryWhenItsCallbackIsEmpty) {
  EXPECT_TRUE(login("first"));
  kernel.clearCalls();
  EXPECT_FALSE(AccelSdk::Instance().UserLoginFromAccount(L"a", L"b", {}));
  EXPECT_THAT(kernel.calls(), IsEmpty());
  complete(3);
  EXPECT_THAT(heard, ElementsAre("first 3"));
}

TEST_F(Login, LooksOnlyAtTheLowByteOfTheAnswer) {
  struct Row {
    std::uint32_t (*function)();
    bool accepted;
  };
  const Row rows[] = {
      {[]() -> std::uint32_t { return 0xFFFFFF00; }, false},
      {[]() -> std::uint32_t { return 0x00000100; }, false},
      {[]() -> std::uint32_t { return 0x00000000; }, false},
      {[]() -> std::uint32_t { return 0x00000101; }, true},
      {[]() -> std::uint32_t { return 0x00000080; }, true},
      {[]() -> std::uint32_t { return 0x00000001; }, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.function());
    sdk::kernelFunctions.set(
        static_cast<std::size_t>(sdk::KernelFunction::Kernel_UserLoginFromAccount),
        reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(row.function)));
    EXPECT_EQ(login("any"), row.accepted);
  }
}

TEST_F(Login, PassesTextsAsTheLibraryTakesThemUpToTheirFirstNul) {
  EXPECT_TRUE(AccelSdk::Instance().UserLoginFromAccount(std::wstring(L"a\0b", 3),
                                                        std::wstring(L"\0c", 2), noteAs("any")));
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_UserLoginFromAccount(\"a\", \"\")"));
}

TEST_F(Login, MayBeRepeatedFromInsideItsOwnResult) {
  const auto again = [this](int code, const std::wstring&) {
    heard.push_back("outer " + std::to_string(code));
    EXPECT_TRUE(login("inner"));
    heard.push_back("outer goes on");
  };
  EXPECT_TRUE(AccelSdk::Instance().UserLoginFromAccount(L"a", L"b", again));
  complete(1);
  complete(2);
  EXPECT_THAT(heard, ElementsAre("outer 1", "outer goes on", "inner 2"));
}

TEST(OnLoginResult, DoesNothingWhenNobodyHasLoggedIn) {
  sdk::loginResultHandler.install({});
  sdk::OnLoginResult(kUnreadable1, 0, kUnreadable2);
  sdk::OnLoginResult(nullptr, -1, nullptr);
  EXPECT_FALSE(sdk::loginResultHandler);
}

}  // namespace
}  // namespace orva_accelerator::test
