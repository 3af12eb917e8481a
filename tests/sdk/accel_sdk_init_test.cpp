// Loading and initialising the library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "sdk/accel_sdk_impl.h"
#include "sdk/kernel_function_table.h"
#include "tests/sdk/executable_path.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/fake_kernel.h"

namespace orva_accelerator::test {
namespace {

using sdk::AccelSdkImpl;
using sdk::SdkInitParams;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t kExecutable[] = L"C:\\Orva\\OrvaAcceleratorService.exe";
constexpr char kInitCall[] = "Kernel_Init(\"C:\\Orva\\OrvaAcceleratorService.exe\")";

// A binding of the test's own beside the process's one, so that each test begins with none loaded.
class AccelSdkInit : public testing::Test {
 protected:
  ~AccelSdkInit() override { sdk::kernelFunctions.clear(); }

  FakeKernel kernel;
  ExecutablePath path{kExecutable};
  AccelSdkImpl binding;
};

TEST_F(AccelSdkInit, LoadsResolvesInitialisesAndSetsTheChannelInThisOrder) {
  EXPECT_EQ(binding.Init({3, 20250, L"official"}), 1);
  EXPECT_THAT(kernel.loadedPaths(), ElementsAre(L"C:\\Orva\\accel_sdk\\sdk_x64\\OpenKernel.dll"));
  EXPECT_EQ(kernel.lookedUpFunctions().size(), 101U);
  EXPECT_THAT(kernel.calls(),
              ElementsAre(kInitCall, "Kernel_SetSdkChannelNumber(3, 20250, \"official\")"));
  EXPECT_TRUE(binding.initialised);
  EXPECT_EQ(binding.module.get(), kernel.module());
}

TEST_F(AccelSdkInit, HasResolvedEverythingBeforeTheFirstCallIntoTheLibrary) {
  std::size_t resolved = 0;
  kernel.Kernel_Init = [&](auto...) {
    resolved = kernel.lookedUpFunctions().size();
    return sdk::KernelBool{1};
  };
  EXPECT_EQ(binding.Init({}), 1);
  EXPECT_EQ(resolved, 101U);
}

TEST_F(AccelSdkInit, IsDoneOnlyWhenTheChannelIsSet) {
  kernel.Kernel_Init = [&](auto...) {
    EXPECT_FALSE(binding.initialised);
    return sdk::KernelBool{1};
  };
  kernel.Kernel_SetSdkChannelNumber = [&](auto...) {
    EXPECT_FALSE(binding.initialised);
    return sdk::KernelBool{1};
  };
  EXPECT_EQ(binding.Init({}), 1);
  EXPECT_EQ(kernel.calls().size(), 2U);
  EXPECT_TRUE(binding.initialised);
}

TEST_F(AccelSdkInit, PassesChannelSettingsUnchanged) {
  struct Row {
    SdkInitParams params;
    const char* call;
  };
  const Row rows[] = {
      {{}, "Kernel_SetSdkChannelNumber(1, 0, \"\")"},
      {{0, 0, L""}, "Kernel_SetSdkChannelNumber(0, 0, \"\")"},
      {{0xFFFFFFFF, 0x80000000, L"x"}, "Kernel_SetSdkChannelNumber(4294967295, 2147483648, \"x\")"},
      {{7, 8, L"\u5B98\u65B9\u6E20\u9053"},
       "Kernel_SetSdkChannelNumber(7, 8, \"\xE5\xAE\x98\xE6\x96\xB9\xE6\xB8\xA0\xE9\x81\x93\")"},
      // The library takes terminated texts.
      {{1, 2, std::wstring(L"a\0b", 3)}, "Kernel_SetSdkChannelNumber(1, 2, \"a\")"},
  };
  for (const Row& row : rows) {
    AccelSdkImpl other;
    kernel.clearCalls();
    EXPECT_EQ(other.Init(row.params), 1);
    EXPECT_THAT(kernel.calls(), ElementsAre(kInitCall, row.call));
    EXPECT_EQ(other.channelId, row.params.channelId);
    EXPECT_EQ(other.channelNumber, row.params.channelNumber);
    EXPECT_EQ(other.channelName, row.params.channelName);
  }
}

TEST_F(AccelSdkInit, PassesTheLongestChannelNameThatARequestCanCarry) {
  const std::wstring name(65'535, L'n');
  EXPECT_EQ(binding.Init({1, 2, name}), 1);
  EXPECT_EQ(kernel.calls().at(1),
            "Kernel_SetSdkChannelNumber(1, 2, \"" + std::string(65'535, 'n') + "\")");
}

TEST_F(AccelSdkInit, SucceedsWhateverTheLibraryAnswers) {
  kernel.Kernel_Init = [](auto...) { return sdk::KernelBool{0}; };
  kernel.Kernel_SetSdkChannelNumber = [](auto...) { return sdk::KernelBool{0}; };
  EXPECT_EQ(binding.Init({5, 6, L"seven"}), 1);
  EXPECT_EQ(kernel.calls().size(), 2U);
  EXPECT_TRUE(binding.initialised);
  EXPECT_EQ(binding.channelName, L"seven");
}

TEST_F(AccelSdkInit, AnswersMinusOneAndChangesNothingWhenTheLibraryCannotBeLoaded) {
  ImportHook<decltype(OutputDebugStringA)> debug("kernel32.dll", "OutputDebugStringA");
  for (const DWORD error :
       std::vector<DWORD>{ERROR_MOD_NOT_FOUND, ERROR_BAD_EXE_FORMAT, ERROR_ACCESS_DENIED}) {
    SCOPED_TRACE(error);
    kernel.failLoading(error);
    EXPECT_EQ(binding.Init({9, 9, L"nine"}), -1);
    EXPECT_FALSE(binding.initialised);
    EXPECT_EQ(binding.module.get(), nullptr);
    EXPECT_EQ(binding.channelId, 1U);
    EXPECT_EQ(binding.channelNumber, 0U);
    EXPECT_EQ(binding.channelName, L"");
  }
  EXPECT_THAT(kernel.lookedUpFunctions(), IsEmpty());
  EXPECT_THAT(kernel.calls(), IsEmpty());
  EXPECT_EQ(kernel.freeCount(), 0U);
  EXPECT_EQ(debug.callCount(), 0U);
}

TEST_F(AccelSdkInit, LoadsAgainAfterAFailedLoad) {
  kernel.failLoading(ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(binding.Init({}), -1);
  EXPECT_EQ(binding.Init({}), -1);
  kernel.failLoading(0);
  EXPECT_EQ(binding.Init({}), 1);
  EXPECT_EQ(kernel.loadedPaths().size(), 3U);
  EXPECT_TRUE(binding.initialised);
}

TEST_F(AccelSdkInit, IgnoresOtherParametersWhileInitialised) {
  EXPECT_EQ(binding.Init({1, 2, L"first"}), 1);
  kernel.clearCalls();
  EXPECT_EQ(binding.Init({3, 4, L"second"}), 1);
  EXPECT_THAT(kernel.calls(), IsEmpty());
  EXPECT_EQ(kernel.loadedPaths().size(), 1U);
  EXPECT_EQ(kernel.lookedUpFunctions().size(), 101U);
  EXPECT_EQ(path.calls().callCount(), 1U);
  EXPECT_EQ(binding.channelId, 1U);
  EXPECT_EQ(binding.channelNumber, 2U);
  EXPECT_EQ(binding.channelName, L"first");
}

TEST_F(AccelSdkInit, ResolvesAndInitialisesAnewAfterReleaseButDoesNotLoadAgain) {
  EXPECT_EQ(binding.Init({2, 3, L"first"}), 1);
  const char* const first = "Kernel_SetSdkChannelNumber(2, 3, \"first\")";
  binding.Release();
  EXPECT_EQ(binding.channelId, 2U);
  EXPECT_EQ(binding.channelNumber, 3U);
  EXPECT_EQ(binding.channelName, L"first");
  EXPECT_EQ(binding.Init({2, 3, L"first"}), 1);
  binding.Release();
  EXPECT_EQ(binding.Init({4, 5, L"second"}), 1);
  EXPECT_EQ(kernel.loadedPaths().size(), 1U);
  EXPECT_EQ(kernel.lookedUpFunctions().size(), 303U);
  EXPECT_THAT(kernel.calls(), ElementsAre(kInitCall, first, kInitCall, first, kInitCall,
                                          "Kernel_SetSdkChannelNumber(4, 5, \"second\")"));
  EXPECT_EQ(binding.channelName, L"second");
  EXPECT_EQ(kernel.freeCount(), 0U);
}

TEST_F(AccelSdkInit, RunsOnceWhenManyThreadsCallIt) {
  constexpr int kThreads = 12;
  std::atomic<int> called = 0;
  std::atomic<int> inside = 0;
  std::atomic<bool> alone = true;
  kernel.Kernel_Init = [&](auto...) {
    if (++inside != 1) alone = false;
    // The first one stays until all others have come to wait for it.
    EXPECT_TRUE(waitUntil([&] { return called == kThreads; }));
    --inside;
    return sdk::KernelBool{1};
  };
  std::atomic<int> succeeded = 0;
  std::vector<std::thread> threads;
  for (std::uint32_t id = 1; id <= kThreads; ++id) {
    threads.emplace_back([&, id] {
      ++called;
      if (binding.Init({id, id, L"racer"}) == 1 && binding.initialised) ++succeeded;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(succeeded, kThreads);
  EXPECT_TRUE(alone);
  EXPECT_EQ(kernel.calls().size(), 2U);
  EXPECT_EQ(kernel.loadedPaths().size(), 1U);
  EXPECT_EQ(kernel.lookedUpFunctions().size(), 101U);
}

TEST_F(AccelSdkInit, HoldsTheMutexThroughLoadingResolvingAndBothCalls) {
  std::vector<std::string> unguarded;
  std::size_t asked = 0;
  const auto check = [&](const char* step) {
    bool locked = false;
    // A mutex may only be tried by a thread that does not hold it.
    std::thread([&] {
      locked = binding.mutex.try_lock();
      if (locked) binding.mutex.unlock();
    }).join();
    ++asked;
    if (locked) unguarded.emplace_back(step);
  };
  kernel.Kernel_Init = [&](auto...) {
    check("Kernel_Init");
    return sdk::KernelBool{1};
  };
  kernel.Kernel_SetSdkChannelNumber = [&](auto...) {
    check("Kernel_SetSdkChannelNumber");
    return sdk::KernelBool{1};
  };
  ImportHook<decltype(LoadLibraryW)> loading("kernel32.dll", "LoadLibraryW");
  loading.observe([&](LPCWSTR) { check("LoadLibraryW"); });
  ImportHook<decltype(GetProcAddress)> resolving("kernel32.dll", "GetProcAddress");
  resolving.observe([&](HMODULE, LPCSTR name) {
    if (std::string(name) == "Kernel_GetGameCollectNodeDataList") check("GetProcAddress");
  });
  EXPECT_EQ(binding.Init({}), 1);
  EXPECT_EQ(asked, 4U);
  EXPECT_THAT(unguarded, IsEmpty());
  EXPECT_TRUE(binding.mutex.try_lock());
  binding.mutex.unlock();
}

TEST_F(AccelSdkInit, ReleasesTheMutexWhenTheLibraryCannotBeLoaded) {
  kernel.failLoading(ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(binding.Init({}), -1);
  EXPECT_TRUE(binding.mutex.try_lock());
  binding.mutex.unlock();
}

TEST(AccelSdkImpl, StartsWithNothingLoadedAndTheDefaultChannel) {
  const AccelSdkImpl binding;
  EXPECT_FALSE(binding.initialised);
  EXPECT_EQ(binding.module.get(), nullptr);
  EXPECT_EQ(binding.channelId, 1U);
  EXPECT_EQ(binding.channelNumber, 0U);
  EXPECT_EQ(binding.channelName, L"");
  EXPECT_FALSE(binding.accelResultCallback);
  EXPECT_FALSE(binding.stopResultCallback);
  for (const auto& callback : binding.unusedCallbacks) EXPECT_FALSE(callback);
}

TEST(AccelSdkImpl, FreesTheLibraryOnceAndDoesNotShutItDownWhenDestroyed) {
  FakeKernel kernel;
  {
    AccelSdkImpl binding;
    EXPECT_EQ(binding.Init({}), 1);
    kernel.clearCalls();
    EXPECT_EQ(kernel.freeCount(), 0U);
  }
  EXPECT_EQ(kernel.freeCount(), 1U);
  EXPECT_THAT(kernel.calls(), IsEmpty());
}

TEST(AccelSdkImpl, KeepsTheCallbacksOfStartAndStop) {
  AccelSdkImpl binding;
  int starts = 0;
  int stops = 0;
  binding.SetAccelResultCallback([&](const sdk::SAccelResult&) { ++starts; });
  binding.SetStopResultCallback([&](int, const std::wstring&) { ++stops; });
  binding.Release();
  ASSERT_TRUE(binding.accelResultCallback);
  ASSERT_TRUE(binding.stopResultCallback);
  binding.accelResultCallback({});
  binding.stopResultCallback(0, L"");
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(stops, 1);
  sdk::accelResultHandler.install({});
  sdk::stopResultHandler.install({});
}

TEST(AccelSdkImpl, InitialisesNothingAnyMoreOnceItIsClosed) {
  FakeKernel kernel;
  AccelSdkImpl binding;
  EXPECT_EQ(binding.Init({}), 1);
  binding.closeForGood();
  EXPECT_FALSE(binding.initialised);
  EXPECT_EQ(binding.Init({}), -1);
  EXPECT_EQ(kernel.loadedPaths().size(), 1U);
  EXPECT_EQ(kernel.freeCount(), 1U);
}

TEST(AccelSdkImpl, FreesNothingWhenDestroyedWithoutALibrary) {
  FakeKernel kernel;
  kernel.failLoading(ERROR_MOD_NOT_FOUND);
  ImportHook<decltype(FreeLibrary)> freeing("kernel32.dll", "FreeLibrary");
  freeing.observe([](HMODULE module) { EXPECT_NE(module, nullptr); });
  {
    AccelSdkImpl binding;
    EXPECT_EQ(binding.Init({}), -1);
  }
  EXPECT_EQ(kernel.freeCount(), 0U);
}

TEST(AccelSdkImpl, LeavesNoEntryPointBehindWhenDestroyed) {
  FakeKernel kernel;
  {
    AccelSdkImpl binding;
    EXPECT_EQ(binding.Init({}), 1);
    EXPECT_NE(sdk::kernelFunctions.get<sdk::KernelFunction::Kernel_StopAccel>(), nullptr);
  }
  EXPECT_EQ(sdk::kernelFunctions.get<sdk::KernelFunction::Kernel_StopAccel>(), nullptr);
  EXPECT_EQ(sdk::kernelFunctions.get<sdk::KernelFunction::Kernel_Init>(), nullptr);
}

}  // namespace
}  // namespace orva_accelerator::test
