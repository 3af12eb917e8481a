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

// Takes the place of the dispatcher, which answers `result` and leaves `error`.
class FakeDispatcher {
 public:
  explicit FakeDispatcher(BOOL result, DWORD error = ERROR_SUCCESS) {
    dispatch_.replace([this, result, error](const SERVICE_TABLE_ENTRYW* table) -> BOOL {
      names.push_back(table[0].lpServiceName);
      entryIsServiceMain = table[0].lpServiceProc == serviceMain;
      tableEnds = table[1].lpServiceName == nullptr && table[1].lpServiceProc == nullptr;
      SetLastError(error);
      return result;
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
  FakeDispatcher dispatcher(TRUE, ERROR_IO_PENDING);
  EXPECT_EQ(run({}), (Outcome{0, ""}));
  EXPECT_THAT(dispatcher.names, ElementsAre(L"OrvaAcceleratorService"));
  EXPECT_TRUE(dispatcher.entryIsServiceMain);
  EXPECT_TRUE(dispatcher.tableEnds);
}

TEST(CommandLine, PrintsWhateverErrorTheDispatcherFailsWith) {
  const std::pair<DWORD, const char*> errors[] = {{ERROR_FAILED_SERVICE_CONTROLLER_CONNECT, "1063"},
                                                  {ERROR_SERVICE_ALREADY_RUNNING, "1056"},
                                                  {0x80070005, "-2147024891"},
                                                  {ERROR_SUCCESS, "0"}};
  for (const auto& [error, shown] : errors) {
    FakeDispatcher dispatcher(FALSE, error);
    EXPECT_EQ(run({}),
              (Outcome{1, std::string("StartServiceCtrlDispatcherW failed: ") + shown + "\n"}));
  }
}

TEST(CommandLine, RunsTheServiceForAnythingThatIsNoCommandWord) {
  FakeServiceManager manager;
  for (const wchar_t* word : {L"start", L"INSTALL", L"Install", L"install ", L" install", L"instal",
                              L"installs", L"", L"/install", L"--update",
                              // Equal to a command word for a reader, and for some comparisons.
                              L"in\u00ADstall", L"install\u200B", L"\uFF49nstall"}) {
    FakeDispatcher dispatcher(FALSE, ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
    EXPECT_EQ(run({word}), (Outcome{1, "StartServiceCtrlDispatcherW failed: 1063\n"}));
    EXPECT_EQ(dispatcher.names.size(), 1u);
  }
  EXPECT_THAT(manager.calls(), IsEmpty());
}

TEST(CommandLine, LooksAtTheFirstArgumentAlone) {
  FakeServiceManager manager;
  FakeDispatcher dispatcher(TRUE);
  EXPECT_EQ(run({L"nothing", L"install"}), (Outcome{0, ""}));
  EXPECT_THAT(manager.calls(), IsEmpty());
  EXPECT_EQ(run({L"uninstall", L"install"}), (Outcome{0, "Service uninstalled successfully.\n"}));
  EXPECT_EQ(dispatcher.names.size(), 1u);
}

TEST(CommandLine, LooksAtNoMoreArgumentsThanThereAre) {
  FakeServiceManager manager;
  FakeDispatcher dispatcher(TRUE);
  const wchar_t* const arguments[] = {L"OrvaAcceleratorService.exe", L"uninstall"};
  for (const int count : {0, 1}) EXPECT_EQ(runCommandLine(count, arguments), 0);
  EXPECT_THAT(manager.calls(), IsEmpty());
}

// A fault of the service, or of the library in it, is reported as that of any program.
TEST(CommandLine, LeavesTheErrorModeAsItIsForTheService) {
  ImportHook<decltype(SetErrorMode)> setErrorMode("kernel32.dll", "SetErrorMode");
  FakeDispatcher dispatcher(TRUE);
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

TEST(CommandLine, InstallsAPathThatTakesAllItsRoomOrIsCutToIt) {
  for (const std::size_t length : {259U, 300U}) {
    FakeServiceManager manager;
    manager.ownPath = std::wstring(length, L'x');
    EXPECT_EQ(run({L"install"}), (Outcome{0, ""}));
    EXPECT_THAT(manager.calls(), Contains("GetFileAttributesW(\"" + std::string(259, 'x') + "\")"));
  }
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

// A system call that fails, and what its command ends with.
struct Refusal {
  const char* function;
  DWORD error;
  int result;
  const char* reason = "";
  int call = 1;
};

TEST(CommandLine, SaysNothingWhenInstallingFails) {
  for (const Refusal& refusal : {
           Refusal{"GetFileAttributesW", ERROR_FILE_NOT_FOUND, -1},
           Refusal{"CreateServiceW", ERROR_SERVICE_MARKED_FOR_DELETE, 1072},
           Refusal{"SetServiceObjectSecurity", ERROR_ACCESS_DENIED, -6},
       }) {
    FakeServiceManager manager;
    manager.fail(refusal.function, refusal.error);
    EXPECT_EQ(run({L"install"}), (Outcome{refusal.result, ""}));
  }
}

TEST(CommandLine, SaysNothingWhenReinstallingFails) {
  FakeServiceManager manager;
  manager.stateAfterStop = SERVICE_STOPPED;
  manager.fail("DeleteService", 0);
  EXPECT_EQ(run({L"reinstall"}), (Outcome{-3, ""}));
}

TEST(CommandLine, PrintsThatTheServiceWasUninstalled) {
  FakeServiceManager manager;
  EXPECT_EQ(run({L"uninstall"}), (Outcome{0, "Service uninstalled successfully.\n"}));
}

TEST(CommandLine, PrintsTheResultWhenUninstallingFails) {
  for (const Refusal& refusal : {
           Refusal{"OpenSCManagerW", ERROR_ACCESS_DENIED, 5},
           Refusal{"OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST, 1060},
           Refusal{"DeleteService", ERROR_SERVICE_MARKED_FOR_DELETE, 1072},
           Refusal{"DeleteService", 0, -3},
       }) {
    FakeServiceManager manager;
    manager.fail(refusal.function, refusal.error);
    EXPECT_EQ(run({L"uninstall"}),
              (Outcome{refusal.result, "Failed to uninstall service, error code: " +
                                           std::to_string(refusal.result) + "\n"}));
  }
}

TEST(CommandLine, PrintsThatThePathWasUpdated) {
  FakeServiceManager manager;
  EXPECT_EQ(run({L"update"}), (Outcome{0, "Service path updated successfully.\n"}));
}

TEST(CommandLine, PrintsReasonAndResultWhenUpdatingFails) {
  for (const Refusal& refusal : {
           Refusal{"OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST, -1, "Service not installed"},
           Refusal{"OpenServiceW", ERROR_ACCESS_DENIED, -2, "Failed to open service", 2},
           Refusal{"ChangeServiceConfigW", ERROR_ACCESS_DENIED, -3,
                   "Failed to update service config"},
           // The path goes on empty, and is not the registered one.
           Refusal{"GetModuleFileNameW", ERROR_INVALID_HANDLE, -4, "Update verification failed"},
       }) {
    FakeServiceManager manager;
    manager.fail(refusal.function, refusal.error, refusal.call);
    EXPECT_EQ(
        run({L"update"}),
        (Outcome{refusal.result, std::string("Failed to update service path: ") + refusal.reason +
                                     " (error code: " + std::to_string(refusal.result) + ")\n"}));
  }
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
