// How a test process ends, seen from outside: by running the leaking test below on its own.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "tests/support/another_run.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/child_process.h"
#include "tests/support/pipe_names.h"
#include "tests/support/raw_pipe_client.h"

namespace orva_accelerator::test {
namespace {

// Ends the process if it is ever destroyed, like a server whose threads were never joined.
std::thread neverJoined;

TEST(LeakingTest, LeavesAThreadBlockedInAPipeCall) {
  const std::wstring name = uniquePipeName(L"leak");
  neverJoined = std::thread([name] {
    const HANDLE pipe = CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE, 1, 64,
                                         64, 0, nullptr);
    (void)ConnectNamedPipe(pipe, nullptr);  // The client below connects.
    char byte = 0;
    DWORD read = 0;
    (void)ReadFile(pipe, &byte, 1, &read, nullptr);  // Nobody ever writes.
  });
  static RawPipeClient client;
  ASSERT_EQ(client.open(name), 0U);
}

TEST(TestMain, EndsWithTheResultThoughThreadsAreBlocked) {
  const ChildResult result =
      runChild(testFolder() + L"\\test_support_tests.exe", {L"--gtest_filter=LeakingTest.*"});
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_NE(result.output.find("[  PASSED  ] 1 test."), std::string::npos) << result.output;
}

constexpr wchar_t kHasAReason[] = L"ORVA_TEST_HAS_A_REASON";

// Has none unless a test below runs it.
TEST(AnotherRun, IsRequestedForAReasonOnly) {
  EXPECT_EQ(reasonForAnotherRun(), "");
  if (GetEnvironmentVariableW(kHasAReason, nullptr, 0) == 0) return;
  requestAnotherRun("a reason");
  FAIL() << "for a reason";
}

// What a test program that is run with these arguments reports to scripts/wine.sh.
std::string reportOf(const std::vector<std::wstring>& arguments) {
  wchar_t folder[MAX_PATH];
  EXPECT_NE(GetTempPathW(MAX_PATH, folder), 0U);
  const std::filesystem::path file =
      std::filesystem::path(folder) / (L"orva-report-" + std::to_wstring(GetCurrentProcessId()));
  EXPECT_TRUE(SetEnvironmentVariableW(L"ORVA_REACHED_FILE", file.c_str()));
  (void)runChild(testFolder() + L"\\test_support_tests.exe", arguments);  // The report tells.
  EXPECT_TRUE(SetEnvironmentVariableW(L"ORVA_REACHED_FILE", nullptr));
  std::string report;
  {
    std::ifstream stream(file);
    std::getline(stream, report);
  }
  std::error_code error;
  EXPECT_TRUE(std::filesystem::remove(file, error)) << error.message();
  return report;
}

TEST(TestMain, ReportsItsResult) {
  EXPECT_EQ(reportOf({L"--gtest_filter=LeakingTest.*"}), "0");
}

TEST(TestMain, ReportsWhyItsResultMeansNothing) {
  ASSERT_TRUE(SetEnvironmentVariableW(kHasAReason, L"1"));
  EXPECT_EQ(reportOf({L"--gtest_filter=AnotherRun.*"}), "again: a reason");
  EXPECT_TRUE(SetEnvironmentVariableW(kHasAReason, nullptr));
}

// None of its children is one whom wine.sh asks.
TEST(TestMain, HidesTheFileFromItsChildren) {
  EXPECT_EQ(GetEnvironmentVariableW(L"ORVA_REACHED_FILE", nullptr, 0), 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
