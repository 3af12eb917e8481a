#include "tests/support/fake_kernel.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <windows.h>

#include "sdk/kernel_function_names.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;

constexpr wchar_t kPath[] = L"C:\\x\\accel_sdk\\sdk_x64\\OpenKernel.dll";

template <typename Function>
Function lookUp(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

TEST(FakeKernel, IsLoadedInsteadOfTheLibraryAndHasAllItsFunctions) {
  FakeKernel kernel;
  const HMODULE module = LoadLibraryW(kPath);
  ASSERT_EQ(module, kernel.module());
  std::vector<std::string> names;
#define ORVA_NAME(name) names.push_back(#name);
  ORVA_KERNEL_FUNCTIONS(ORVA_NAME)
#undef ORVA_NAME
  ASSERT_EQ(names.size(), 101U);
  for (const std::string& name : names) {
    EXPECT_NE(GetProcAddress(module, name.c_str()), nullptr) << name;
  }
  EXPECT_EQ(GetProcAddress(module, "Kernel_Unknown"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
  names.push_back("Kernel_Unknown");
  EXPECT_EQ(kernel.lookedUpFunctions(), names);
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(kernel.freeCount(), 1U);
  EXPECT_THAT(kernel.loadedPaths(), ElementsAre(kPath));
}

TEST(FakeKernel, LeavesOtherModulesAlone) {
  const FakeKernel kernel;
  const HMODULE module = LoadLibraryW(L"version.dll");
  ASSERT_NE(module, nullptr);
  EXPECT_NE(GetProcAddress(module, "GetFileVersionInfoW"), nullptr);
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_THAT(kernel.loadedPaths(), ElementsAre());
  EXPECT_EQ(kernel.freeCount(), 0U);
}

TEST(FakeKernel, CanFailToLoadOrLackAFunction) {
  FakeKernel kernel;
  kernel.failLoading(ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(LoadLibraryW(kPath), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  kernel.failLoading(0);
  kernel.remove("Kernel_StopAccel");
  const HMODULE module = LoadLibraryW(kPath);
  EXPECT_EQ(GetProcAddress(module, "Kernel_StopAccel"), nullptr);
  EXPECT_NE(GetProcAddress(module, "Kernel_StartAccel"), nullptr);
}

TEST(FakeKernel, RecordsCallsWithTheirArgumentsInOrder) {
  FakeKernel kernel;
  const HMODULE module = LoadLibraryW(kPath);
  const auto channel =
      lookUp<sdk::signature::Kernel_SetSdkChannelNumber>(module, "Kernel_SetSdkChannelNumber");
  const auto nodes =
      lookUp<sdk::signature::Kernel_GetGameNodeDataList>(module, "Kernel_GetGameNodeDataList");
  EXPECT_EQ(channel(3, 4294967295U, L"\u6e38"), 1);
  std::uint32_t count = 5;
  EXPECT_EQ(nodes(1001, 2, L"", nullptr, &count), 0);
  EXPECT_THAT(kernel.calls(),
              ElementsAre("Kernel_SetSdkChannelNumber(3, 4294967295, \"\xE6\xB8\xB8\")",
                          "Kernel_GetGameNodeDataList(1001, 2, \"\", null, 5)"));
  kernel.clearCalls();
  EXPECT_THAT(kernel.calls(), ElementsAre());
}

TEST(FakeKernel, DoesWhatItsScriptSays) {
  FakeKernel kernel;
  kernel.Kernel_GetConsoleData = [](sdk::ConsoleDataRecord* record) {
    record->console1 = 7;
    return sdk::KernelBool{1};
  };
  const HMODULE module = LoadLibraryW(kPath);
  sdk::ConsoleDataRecord record{};
  EXPECT_EQ(lookUp<sdk::signature::Kernel_GetConsoleData>(module, "Kernel_GetConsoleData")(&record),
            1);
  EXPECT_EQ(record.console1, 7U);
}

TEST(FakeKernel, KeepsTheCompletionsThatItIsGiven) {
  FakeKernel kernel;
  const HMODULE module = LoadLibraryW(kPath);
  const auto completion = [](void*, int, void*) {};
  const auto result = [](void*, void*, const sdk::KernelAccelResult*) {};
  int context = 0;
  EXPECT_EQ(kernel.stopCompletion(), nullptr);
  EXPECT_EQ(
      lookUp<sdk::signature::Kernel_StopAccel>(module, "Kernel_StopAccel")(nullptr, completion), 1);
  EXPECT_EQ(lookUp<sdk::signature::Kernel_UserLoginFromAccount>(
                module, "Kernel_UserLoginFromAccount")(nullptr, L"a", L"c", completion),
            1);
  EXPECT_EQ(lookUp<sdk::signature::Kernel_StartAccelEx>(module, "Kernel_StartAccelEx")(
                &context, 1, 2, L"text", 0, L"1;2", 3, 4, result),
            1);
  EXPECT_EQ(kernel.stopCompletion(), static_cast<sdk::KernelCodeCompletion>(completion));
  EXPECT_EQ(kernel.loginCompletion(), static_cast<sdk::KernelCodeCompletion>(completion));
  EXPECT_EQ(kernel.accelCompletion(), static_cast<sdk::KernelAccelCompletion>(result));
  EXPECT_EQ(kernel.accelContext(), &context);
  EXPECT_THAT(kernel.calls(),
              ElementsAre("Kernel_StopAccel()", "Kernel_UserLoginFromAccount(\"a\", \"c\")",
                          "Kernel_StartAccelEx(1, 2, \"text\", 0, \"1;2\", 3, 4)"));
}

TEST(FakeKernel, FailsTheTestWhenAnUnusedFunctionIsCalled) {
  FakeKernel kernel;
  const HMODULE module = LoadLibraryW(kPath);
  const auto unInit = lookUp<sdk::KernelBool (*)()>(module, "Kernel_UnInit");
  EXPECT_NONFATAL_FAILURE((void)unInit(), "Kernel_UnInit is not to be called");
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_UnInit()"));
}

}  // namespace
}  // namespace orva_accelerator::test
