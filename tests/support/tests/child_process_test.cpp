#include "tests/support/child_process.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

std::wstring helper() {
  return testFolder() + L"\\test_support_child.exe";
}

TEST(ChildProcess, ReportsExitCodeAndBothOutputs) {
  const ChildResult result = runChild(helper(), {L"print", L"out text", L"error text"});
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_EQ(result.output, "out text");
  EXPECT_EQ(result.errors, "error text");
}

TEST(ChildProcess, PassesArgumentsUnchanged) {
  for (const wchar_t* argument :
       {L"", L"a b", L"a\"b", L"a\\\"b", L"ends with \\", L"\\\\.\\pipe\\x y\\\\", L"%PATH%"}) {
    const ChildResult result = runChild(helper(), {L"print", argument, L""});
    EXPECT_EQ(std::wstring(result.output.begin(), result.output.end()), argument);
  }
}

TEST(ChildProcess, ReportsAll32BitsOfTheExitCode) {
  EXPECT_EQ(runChild(helper(), {L"exit", L"-1"}).exitCode, 0xFFFFFFFFU);
  EXPECT_EQ(runChild(helper(), {L"exit", L"1060"}).exitCode, 1060U);
}

TEST(ChildProcess, StillRunsWhenTheTimeIsOverAndEndsWhenKilled) {
  ChildProcess child(helper(), {L"hang"});
  ASSERT_EQ(child.startError(), 0U);
  ASSERT_TRUE(child.waitForOutput("hanging"));
  EXPECT_EQ(child.wait(std::chrono::milliseconds(1)), std::nullopt);
  child.kill();
  EXPECT_TRUE(child.wait(std::chrono::milliseconds(0)));
}

TEST(ChildProcess, IsNotLeftBehind) {
  win32::UniqueKernelHandle process;
  {
    ChildProcess child(helper(), {L"hang"});
    ASSERT_EQ(child.startError(), 0U);
    process.reset(OpenProcess(SYNCHRONIZE, FALSE, child.id()));
    ASSERT_TRUE(process);
  }
  EXPECT_EQ(WaitForSingleObject(process.get(), 10'000), static_cast<DWORD>(WAIT_OBJECT_0));
}

TEST(ChildProcess, ReportsAProgramThatDoesNotExist) {
  ChildProcess child(testFolder() + L"\\no_such_program.exe");
  EXPECT_EQ(child.startError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(child.wait(), std::nullopt);
  EXPECT_EQ(runChild(L"C:\\no_such_program.exe").exitCode, std::nullopt);
}

using CreateHook = ImportHook<decltype(CreateProcessW)>;

TEST(ChildProcess, IsStartedAgainAfterAnInternalErrorOfTheSystem) {
  CreateHook create("kernel32.dll", "CreateProcessW");
  create.failCalls(1, 2, ERROR_INTERNAL_ERROR, FALSE);
  ChildProcess child(helper(), {L"exit", L"5"});
  EXPECT_EQ(child.startError(), 0U);
  EXPECT_EQ(child.wait(), 5U);
}

TEST(ChildProcess, IsNotStartedForEverNorAfterAnotherError) {
  CreateHook create("kernel32.dll", "CreateProcessW");
  create.failCalls(1, 3, ERROR_INTERNAL_ERROR, FALSE);
  EXPECT_EQ(ChildProcess(helper(), {L"exit", L"5"}).startError(), DWORD{ERROR_INTERNAL_ERROR});
  create.failCall(4, ERROR_ACCESS_DENIED, FALSE);
  EXPECT_EQ(ChildProcess(helper(), {L"exit", L"5"}).startError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(create.callCount(), 4U);
}

TEST(ShippedFile, LiesAboveTheTests) {
  EXPECT_EQ(shippedFile(L"tests"), testFolder());
}

}  // namespace
}  // namespace orva_accelerator::test
