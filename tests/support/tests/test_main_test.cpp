// How a test process ends, seen from outside: by running the leaking test below on its own.
#include <gtest/gtest.h>
#include <windows.h>

#include <thread>

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

}  // namespace
}  // namespace orva_accelerator::test
