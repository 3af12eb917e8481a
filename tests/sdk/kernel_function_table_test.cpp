// Filling the function table, and the end of the process when the library lacks a function.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "sdk/accel_sdk.h"
#include "sdk/kernel_function_table.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/message_box_stand_in.h"

namespace orva_accelerator::test {
namespace {

using sdk::KernelFunction;
using testing::AllOf;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// Written out a second time, so that a slip in the list of the code shows.
const std::vector<std::string> kNames = {
    "Kernel_SetLogDir",
    "Kernel_Init",
    "Kernel_UnInit",
    "Kernel_SetSdkChannelNumber",
    "Kernel_GetGameDataFromGameID",
    "Kernel_GetGameKeywordsFromGameID",
    "Kernel_IsDetailGameData",
    "Kernel_IsExistGameServerNodeData",
    "Kernel_GetGameAreaData",
    "Kernel_GetGameServerData",
    "Kernel_GetGameFirstAreaServerID",
    "Kernel_GetGameAreaFirstServerID",
    "Kernel_GetNodeData",
    "Kernel_GetGameAreaDataList",
    "Kernel_GetGameServerDataList",
    "Kernel_GetGameNodeDataList",
    "Kernel_GetGameNodeDataListFromFilter",
    "Kernel_GetGameNodeDataListFromFilterBatch",
    "Kernel_GetGameCategoryDataList",
    "Kernel_GetGameSubCategoryDataList",
    "Kernel_GetGameDataListFromSubCategoryID",
    "Kernel_GetGameListFromDefault",
    "Kernel_GetGameListFromMy",
    "Kernel_GetGameListFromMyDefault",
    "Kernel_GetGameListFromSearch",
    "Kernel_GetGameStartupPathSelectPlatID",
    "Kernel_SetGameStartupPathSelectPlatID",
    "Kernel_GetGameStartupPath",
    "Kernel_GetGameStartupPath_V2",
    "Kernel_SetGameStartupPath",
    "Kernel_StartGame",
    "Kernel_GetGameLastAccelInfo",
    "Kernel_GetGameLastAccelInfoEx",
    "Kernel_GetGameTips",
    "Kernel_GetGameSupportAccelMode",
    "Kernel_GetGameDefaultAccelMode",
    "Kernel_GetGameSupportAccelPlatform",
    "Kernel_IsCDNGame",
    "Kernel_IsFreeGame",
    "Kernel_IsLimitTimeFreeGame",
    "Kernel_IsConsoleGame",
    "Kernel_IsNationalGame",
    "Kernel_IsOverseasGame",
    "Kernel_IsXboxGame",
    "Kernel_IsPsGame",
    "Kernel_IsSwitchGame",
    "Kernel_IsSteamDeckGame",
    "Kernel_IsSteamGame",
    "Kernel_CheckGameAreaSvrValid",
    "Kernel_CheckGameAreaSvrNodeValid",
    "Kernel_CheckGameAreaSvrNodeModeValid",
    "Kernel_CheckGameAreaSvrModeValid",
    "Kernel_GetAccelState",
    "Kernel_GetAccelData",
    "Kernel_GetConsoleData",
    "Kernel_GetConsoleOldMode",
    "Kernel_SetConsoleOldMode",
    "Kernel_GetMode4Enhance",
    "Kernel_SetMode4Enhance",
    "Kernel_GetUdpToTcp",
    "Kernel_SetUdpToTcp",
    "Kernel_GetCloseFecFlag",
    "Kernel_SetCloseFecFlag",
    "Kernel_GetMsgCodeString",
    "Kernel_UserAutoLogin",
    "Kernel_SyncUserLoginFromNetbar",
    "Kernel_SyncUserLoginFromAccount",
    "Kernel_UserLoginFromAccount",
    "Kernel_UserLogoutFromAccount",
    "Kernel_AddGameToFavorite",
    "Kernel_RemoveGameFromFavorite",
    "Kernel_SyncDownloadAllGameDataList",
    "Kernel_DownloadAllGameDataList",
    "Kernel_DownloadDefaultGameDataList",
    "Kernel_SyncDownloadGameDataFromGameID",
    "Kernel_DownloadGameDataFromGameID",
    "Kernel_DownloadNodeDataFromGameServer",
    "Kernel_SearchGame",
    "Kernel_SyncDownloadFile",
    "Kernel_StartAccel",
    "Kernel_StartAccelEx",
    "Kernel_StopAccel",
    "Kernel_StopAccelPre",
    "Kernel_StopAccelSync",
    "Kernel_SyncStartTestSpeed",
    "Kernel_StartTestSpeed",
    "Kernel_StopTestSpeed",
    "Kernel_StartTestSpeedBatch",
    "Kernel_MoreTestSpeedBatch",
    "Kernel_NextTestSpeedBatch",
    "Kernel_StopTestSpeedBatch",
    "Kernel_GetTestSpeedData",
    "Kernel_GetTestSpeedData_V2",
    "Kernel_RefreshToken",
    "Kernel_IsGameExistAllAreaServer",
    "Kernel_IsAllAreaServerGame",
    "Kernel_GetGameSceneInfo",
    "Kernel_GetGameUsedNodeDataList",
    "Kernel_AddGameCollectNodeData",
    "Kernel_RemoveGameCollectNodeData",
    "Kernel_GetGameCollectNodeDataList",
};

// The functions that the service calls.
struct Called {
  const char* name;
  bool (*isSet)();
};
template <KernelFunction F>
bool isSet() {
  return sdk::kernelFunctions.get<F>() != nullptr;
}
#define ORVA_CALLED(name) {#name, isSet<KernelFunction::name>}
const Called kCalled[] = {
    ORVA_CALLED(Kernel_Init),
    ORVA_CALLED(Kernel_SetSdkChannelNumber),
    ORVA_CALLED(Kernel_UserLoginFromAccount),
    ORVA_CALLED(Kernel_StartAccel),
    ORVA_CALLED(Kernel_StartAccelEx),
    ORVA_CALLED(Kernel_StopAccel),
    ORVA_CALLED(Kernel_GetAccelData),
    ORVA_CALLED(Kernel_GetConsoleData),
    ORVA_CALLED(Kernel_GetGameDataFromGameID),
    ORVA_CALLED(Kernel_GetGameLastAccelInfo),
    ORVA_CALLED(Kernel_GetGameServerDataList),
    ORVA_CALLED(Kernel_GetGameNodeDataList),
    ORVA_CALLED(Kernel_GetGameUsedNodeDataList),
    ORVA_CALLED(Kernel_GetTestSpeedData_V2),
};
#undef ORVA_CALLED

class ResolveKernelFunctions : public testing::Test {
 protected:
  ResolveKernelFunctions() { sdk::kernelFunctions.clear(); }
  ~ResolveKernelFunctions() override { sdk::kernelFunctions.clear(); }

  FakeKernel kernel;
};

TEST_F(ResolveKernelFunctions, LooksUpAll101NamesInOrder) {
  ASSERT_EQ(kNames.size(), 101U);
  EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
  EXPECT_THAT(kernel.lookedUpFunctions(), ElementsAreArray(kNames));
}

TEST_F(ResolveKernelFunctions, LeadsEveryCallToTheFunctionOfItsName) {
  for (const Called& function : kCalled) EXPECT_FALSE(function.isSet()) << function.name;
  EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
  for (const Called& function : kCalled) EXPECT_TRUE(function.isSet()) << function.name;

  (void)sdk::kernelFunctions.get<KernelFunction::Kernel_Init>()(L"path");
  (void)sdk::kernelFunctions.get<KernelFunction::Kernel_SetSdkChannelNumber>()(1, 2, L"three");
  (void)sdk::kernelFunctions.get<KernelFunction::Kernel_GetAccelData>()(nullptr);
  (void)sdk::kernelFunctions.get<KernelFunction::Kernel_GetConsoleData>()(nullptr);
  EXPECT_THAT(
      kernel.calls(),
      testing::ElementsAre("Kernel_Init(\"path\")", "Kernel_SetSdkChannelNumber(1, 2, \"three\")",
                           "Kernel_GetAccelData()", "Kernel_GetConsoleData()"));
}

TEST_F(ResolveKernelFunctions, CallsNothing) {
  EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
  EXPECT_THAT(kernel.calls(), testing::IsEmpty());
}

TEST_F(ResolveKernelFunctions, ResolvesAgainWhatIsResolvedAlready) {
  EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
  ImportHook<decltype(GetProcAddress)> resolving("kernel32.dll", "GetProcAddress");
  // Other requests go on calling meanwhile.
  resolving.observe(
      [](HMODULE, LPCSTR) { EXPECT_TRUE(isSet<KernelFunction::Kernel_StopAccel>()); });
  EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
  EXPECT_EQ(kernel.lookedUpFunctions().size(), 202U);
  for (const Called& function : kCalled) EXPECT_TRUE(function.isSet()) << function.name;
}

std::string hex(const char* text) {
  std::string shown;
  // The terminator included.
  for (const char* at = text;; ++at) {
    char byte[4];
    (void)std::snprintf(byte, sizeof(byte), "%02X ", static_cast<unsigned char>(*at));
    shown += byte;
    if (*at == '\0') return shown;
  }
}

// What the dying process wrote to its error output says what it did.
class MissingKernelFunction : public testing::Test {
 protected:
  // To be run as the statement of a death test.
  static void initialiseWithout(const std::string& name) {
    FakeKernel kernel;
    kernel.remove(name);
    ImportHook<decltype(OutputDebugStringA)> debug("kernel32.dll", "OutputDebugStringA");
    debug.replace([&](LPCSTR text) {
      std::fprintf(stderr, "debug <%s> after %u lookups, %u calls, stop %s\n", text,
                   static_cast<unsigned>(kernel.lookedUpFunctions().size()),
                   static_cast<unsigned>(kernel.calls().size()),
                   isSet<KernelFunction::Kernel_StopAccel>() ? "found" : "missing");
    });
    const MessageBoxStandIn box([](HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
      std::fprintf(stderr, "box <%s> caption %sowner %d style %u\n", text, hex(caption).c_str(),
                   owner != nullptr, style);
      (void)std::fflush(stderr);
      return IDOK;
    });
    (void)sdk::AccelSdk::Instance().Init({});
    std::fprintf(stderr, "still there\n");
  }

  static auto report(const std::string& name, unsigned lookups) {
    const std::string text = "<dll not found api - \"" + name + "\">";
    // What has been found by then, other requests call.
    const std::string stop = lookups > 81 ? "found" : "missing";
    return AllOf(HasSubstr("debug " + text + " after " + std::to_string(lookups) +
                           " lookups, 0 calls, stop " + stop + "\nbox " + text +
                           " caption E6 8F 90 E7 A4 BA 00 owner 0 style 0\n"),
                 Not(HasSubstr("still there")));
  }
};

constexpr int kExitCode = -1;  // 0xFFFFFFFF.

TEST_F(MissingKernelFunction, EndsTheProcessAtTheFirstName) {
  EXPECT_EXIT(initialiseWithout("Kernel_SetLogDir"), testing::ExitedWithCode(kExitCode),
              report("Kernel_SetLogDir", 1));
}

TEST_F(MissingKernelFunction, EndsTheProcessWhenItIsInit) {
  EXPECT_EXIT(initialiseWithout("Kernel_Init"), testing::ExitedWithCode(kExitCode),
              report("Kernel_Init", 2));
}

TEST_F(MissingKernelFunction, EndsTheProcessThoughTheServiceNeverCallsIt) {
  ASSERT_EQ(kNames.at(50), "Kernel_CheckGameAreaSvrNodeModeValid");
  EXPECT_EXIT(initialiseWithout(kNames.at(50)), testing::ExitedWithCode(kExitCode),
              report("Kernel_CheckGameAreaSvrNodeModeValid", 51));
}

TEST_F(MissingKernelFunction, EndsTheProcessAtTheLastNameAfterAHundredSuccessfulLookups) {
  EXPECT_EXIT(initialiseWithout("Kernel_GetGameCollectNodeDataList"),
              testing::ExitedWithCode(kExitCode), report("Kernel_GetGameCollectNodeDataList", 101));
}

TEST_F(MissingKernelFunction, EndsTheProcessWhateverBecomesOfTheMessageBox) {
  const auto failWith = [](std::function<decltype(MessageBoxA)> show) {
    FakeKernel kernel;
    kernel.remove("Kernel_UnInit");
    const MessageBoxStandIn box(std::move(show));
    (void)sdk::AccelSdk::Instance().Init({});
  };
  EXPECT_EXIT(failWith([](auto...) { return 0; }), testing::ExitedWithCode(kExitCode), "");
  EXPECT_EXIT(failWith(nullptr), testing::ExitedWithCode(kExitCode), "");
}

TEST_F(MissingKernelFunction, EndsTheProcessWhereThereAreNoMessageBoxes) {
  const auto fail = [] {
    FakeKernel kernel;
    kernel.remove("Kernel_UnInit");
    ImportHook<decltype(LoadLibraryExW)> loading("kernel32.dll", "LoadLibraryExW");
    loading.replace([](LPCWSTR name, HANDLE, DWORD flags) -> HMODULE {
      std::fprintf(stderr, "loaded %ls with %lX\n", name, flags);
      (void)std::fflush(stderr);
      return nullptr;
    });
    (void)sdk::AccelSdk::Instance().Init({});
  };
  EXPECT_EXIT(fail(), testing::ExitedWithCode(kExitCode), EndsWith("loaded user32.dll with 800\n"));
}

TEST_F(MissingKernelFunction, FreesTheLibraryOnTheWayOut) {
  const auto reportFreeing = [] {
    FakeKernel kernel;
    kernel.remove("Kernel_SetLogDir");
    const MessageBoxStandIn box([](auto...) { return IDOK; });
    ImportHook<decltype(FreeLibrary)> freeing("kernel32.dll", "FreeLibrary");
    freeing.observe([module = kernel.module()](HMODULE freed) {
      if (freed == module) std::fprintf(stderr, "freed\n");
      (void)std::fflush(stderr);
    });
    (void)sdk::AccelSdk::Instance().Init({});
  };
  EXPECT_EXIT(reportFreeing(), testing::ExitedWithCode(kExitCode), EndsWith("freed\n"));
}

TEST(AccelSdk, FreesTheLibraryAtExitWithoutShuttingItDown) {
  const auto exitNormally = [] {
    FakeKernel kernel;
    EXPECT_EQ(sdk::AccelSdk::Instance().Init({}), 1);
    ImportHook<decltype(FreeLibrary)> freeing("kernel32.dll", "FreeLibrary");
    freeing.observe([&kernel](HMODULE freed) {
      if (freed != kernel.module()) return;
      // Threads that still run while the process exits must find nothing to call.
      std::fprintf(stderr, "freed after %u calls, table %s\n",
                   static_cast<unsigned>(kernel.calls().size()),
                   isSet<KernelFunction::Kernel_StopAccel>() ? "full" : "empty");
      (void)std::fflush(stderr);
    });
    std::exit(0);
  };
  EXPECT_EXIT(exitNormally(), testing::ExitedWithCode(0),
              EndsWith("freed after 2 calls, table empty\n"));
}

}  // namespace
}  // namespace orva_accelerator::test
