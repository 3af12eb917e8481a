// What the executable does for each first argument, what it prints and how it ends.
#include "service/command_line.h"

#include <gmock/gmock.h>

#include "service/service_host.h"
#include "tests/service/fake_service_manager.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::service::test {
namespace {

using orva_accelerator::test::ImportHook;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

struct Outcome {
  int exitCode;
  std::string output;
};

bool operator==(const Outcome& left, const Outcome& right) {
  return left.exitCode == right.exitCode && left.output == right.output;
}

void PrintTo(const Outcome& outcome, std::ostream* stream) {
  *stream << "exit code " << outcome.exitCode << ", output '" << outcome.output << "'";
}

Outcome run(std::vector<const wchar_t*> arguments) {
  arguments.insert(arguments.begin(), L"OrvaAcceleratorService.exe");
  testing::internal::CaptureStdout();
  const int exitCode = runCommandLine(static_cast<int>(arguments.size()), arguments.data());
  return {exitCode, testing::internal::GetCapturedStdout()};
}

// Takes the place of the dispatcher; with `error`, as for a program that nobody started as a
// service.
class FakeDispatcher {
 public:
  explicit FakeDispatcher(DWORD error) {
    dispatch_.replace([this, error](const SERVICE_TABLE_ENTRYW* table) -> BOOL {
      names.push_back(table[0].lpServiceName);
      entryIsServiceMain = table[0].lpServiceProc == serviceMain;
      tableEnds = table[1].lpServiceName == nullptr && table[1].lpServiceProc == nullptr;
      SetLastError(error);
      return error == 0;
    });
  }

  std::vector<std::wstring> names;
  bool entryIsServiceMain = false;
  bool tableEnds = false;

 private:
  ImportHook<decltype(StartServiceCtrlDispatcherW)> dispatch_{"advapi32.dll",
                                                              "StartServiceCtrlDispatcherW"};
};

TEST(CommandLine, RunsTheServiceWithoutAnArgument) {
  FakeDispatcher dispatcher(0);
  EXPECT_EQ(run({}), (Outcome{0, ""}));
  EXPECT_THAT(dispatcher.names, ElementsAre(L"OrvaAcceleratorService"));
  EXPECT_TRUE(dispatcher.entryIsServiceMain);
  EXPECT_TRUE(dispatcher.tableEnds);
}

TEST(CommandLine, PrintsTheErrorWhenNobodyStartedItAsAService) {
  FakeDispatcher dispatcher(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
  EXPECT_EQ(run({}), (Outcome{1, "StartServiceCtrlDispatcherW failed: 1063\n"}));
}

TEST(CommandLine, RunsTheServiceForAnythingThatIsNoCommandWord) {
  FakeServiceManager manager;
  for (const wchar_t* word : {L"start", L"INSTALL", L"Install", L"install ", L" install", L"instal",
                              L"installs", L"", L"/install", L"--update"}) {
    FakeDispatcher dispatcher(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
    EXPECT_EQ(run({word}), (Outcome{1, "StartServiceCtrlDispatcherW failed: 1063\n"}));
    EXPECT_EQ(dispatcher.names.size(), 1u);
  }
  EXPECT_THAT(manager.calls(), IsEmpty());
}

TEST(CommandLine, LooksAtTheFirstArgumentAlone) {
  FakeServiceManager manager;
  FakeDispatcher dispatcher(0);
  EXPECT_EQ(run({L"nothing", L"install"}), (Outcome{0, ""}));
  EXPECT_THAT(manager.calls(), IsEmpty());
  EXPECT_EQ(run({L"uninstall", L"install"}), (Outcome{0, "Service uninstalled successfully.\n"}));
  EXPECT_EQ(dispatcher.names.size(), 1u);
}

// A fault of the service, or of the library in it, is reported as that of any program.
TEST(CommandLine, LeavesTheErrorModeAsItIsForTheService) {
  ImportHook<decltype(SetErrorMode)> setErrorMode("kernel32.dll", "SetErrorMode");
  FakeDispatcher dispatcher(0);
  EXPECT_EQ(run({}), (Outcome{0, ""}));
  EXPECT_EQ(setErrorMode.callCount(), 0u);
}

TEST(CommandLine, InstallsTheRunningExecutable) {
  FakeServiceManager manager;
  EXPECT_EQ(run({L"install"}), (Outcome{0, ""}));
  ASSERT_GE(manager.calls().size(), 4u);
  EXPECT_EQ(manager.calls()[0], "GetModuleFileNameW(null, 0x104)");
  EXPECT_THAT(manager.calls()[3],
              StartsWith("CreateServiceW(manager1, \"OrvaAcceleratorService\", "));
  EXPECT_THAT(manager.calls()[3], testing::HasSubstr("\"C:\\Game\\OrvaAcceleratorService.exe\""));
}

TEST(CommandLine, ReinstallsTheRunningExecutable) {
  FakeServiceManager manager;
  manager.stateAfterStop = SERVICE_STOPPED;
  EXPECT_EQ(run({L"reinstall"}), (Outcome{0, ""}));
  EXPECT_EQ(manager.calls()[0], "GetModuleFileNameW(null, 0x104)");
  EXPECT_EQ(manager.count("DeleteService"), 1);
  EXPECT_THAT(manager.calls(),
              Contains("GetFileAttributesW(\"C:\\Game\\OrvaAcceleratorService.exe\")"));
}

TEST(CommandLine, EndsWithOneAndSaysNothingWhenItsOwnPathCannotBeHad) {
  for (const wchar_t* word : {L"install", L"reinstall"}) {
    FakeServiceManager manager;
    manager.fail("GetModuleFileNameW", ERROR_INVALID_HANDLE);
    EXPECT_EQ(run({word}), (Outcome{1, ""}));
    EXPECT_THAT(manager.calls(), ElementsAre("GetModuleFileNameW(null, 0x104)"));
  }
}

TEST(CommandLine, SaysNothingWhenInstallingFails) {
  FakeServiceManager manager;
  manager.fail("CreateServiceW", ERROR_SERVICE_MARKED_FOR_DELETE);
  EXPECT_EQ(run({L"install"}), (Outcome{1072, ""}));
}

TEST(CommandLine, SaysNothingWhenReinstallingFails) {
  FakeServiceManager manager;
  manager.stateAfterStop = SERVICE_STOPPED;
  manager.fail("DeleteService", 0);
  EXPECT_EQ(run({L"reinstall"}), (Outcome{-3, ""}));
}

TEST(CommandLine, PrintsTheOutcomeOfUninstalling) {
  {
    FakeServiceManager manager;
    EXPECT_EQ(run({L"uninstall"}), (Outcome{0, "Service uninstalled successfully.\n"}));
  }
  {
    FakeServiceManager manager;
    manager.fail("OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST);
    EXPECT_EQ(run({L"uninstall"}),
              (Outcome{1060, "Failed to uninstall service, error code: 1060\n"}));
  }
  {
    FakeServiceManager manager;
    manager.fail("DeleteService", 0);
    EXPECT_EQ(run({L"uninstall"}), (Outcome{-3, "Failed to uninstall service, error code: -3\n"}));
  }
}

TEST(CommandLine, PrintsThatThePathWasUpdated) {
  FakeServiceManager manager;
  EXPECT_EQ(run({L"update"}), (Outcome{0, "Service path updated successfully.\n"}));
}

TEST(CommandLine, PrintsThatThereIsNothingToUpdate) {
  FakeServiceManager manager;
  manager.fail("OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST);
  EXPECT_EQ(
      run({L"update"}),
      (Outcome{-1, "Failed to update service path: Service not installed (error code: -1)\n"}));
}

TEST(CommandLine, PrintsThatTheServiceCannotBeOpened) {
  FakeServiceManager manager;
  manager.fail("OpenServiceW", ERROR_ACCESS_DENIED, 2);
  EXPECT_EQ(
      run({L"update"}),
      (Outcome{-2, "Failed to update service path: Failed to open service (error code: -2)\n"}));
}

TEST(CommandLine, PrintsThatThePathCannotBeChanged) {
  FakeServiceManager manager;
  manager.fail("ChangeServiceConfigW", ERROR_ACCESS_DENIED);
  EXPECT_EQ(run({L"update"}),
            (Outcome{-3,
                     "Failed to update service path: Failed to update service config (error code: "
                     "-3)\n"}));
}

TEST(CommandLine, PrintsThatAnotherPathIsRegistered) {
  FakeServiceManager manager;
  manager.registeredPath = L"C:\\Game\\Other.exe";
  EXPECT_EQ(
      run({L"update"}),
      (Outcome{-4,
               "Failed to update service path: Update verification failed (error code: -4)\n"}));
}

TEST(UpdateFailureReason, IsUnknownForAnyOtherResult) {
  for (const int result : {-5, -6, 1, 5, 1060}) {
    EXPECT_STREQ(updateFailureReason(result), L"Unknown error") << result;
  }
}

TEST(PrintMessage, PrintsWideTextsAndNumbers) {
  testing::internal::CaptureStdout();
  printMessage(L"%ls|%d|%d|%%\n", L"wide", -2147483647 - 1, 1060);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "wide|-2147483648|1060|%\n");
}

}  // namespace
}  // namespace orva_accelerator::service::test
