#include "client/process_watch.h"

#include <gtest/gtest.h>
#include <tlhelp32.h>

#include "tests/support/bounded_wait.h"
#include "tests/support/child_process.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

using client::isListed;
using client::ProcessWatch;

TEST(ProcessWatch, TakesNoProcessForOneThatHasEnded) {
  const ProcessWatch watch(0);
  EXPECT_TRUE(watch.hasEnded());
  EXPECT_FALSE(watch.exitCode());
}

TEST(ProcessWatch, SeesThatAProcessLives) {
  const ProcessWatch watch(GetCurrentProcessId());
  EXPECT_FALSE(watch.endedWithin(10));
  EXPECT_TRUE(isListed(GetCurrentProcessId()));
}

TEST(ProcessWatch, TellsTheEndAndTheExitCode) {
  ChildProcess child(L"C:\\windows\\system32\\cmd.exe", {L"/c", L"there_is_no_such_command"});
  ASSERT_EQ(child.startError(), 0u);
  const ProcessWatch watch(child.id());
  EXPECT_TRUE(watch.endedWithin(30'000));
  const auto code = child.wait();
  ASSERT_TRUE(code);
  EXPECT_NE(*code, 0u);
  EXPECT_EQ(watch.exitCode(), *code);
}

TEST(ProcessWatch, FindsNoProcessUnderAnIdThatIsNotGivenOut) {
  // Ids are multiples of four.
  EXPECT_FALSE(isListed(0x7FFFFFFD));
  EXPECT_TRUE(ProcessWatch(0x7FFFFFFD).hasEnded());
}

// What an ordinary user meets with a process of LocalSystem.
class UnopenedProcess : public testing::Test {
 protected:
  UnopenedProcess() { open_.failAllCalls(ERROR_ACCESS_DENIED, nullptr); }

  ImportHook<decltype(OpenProcess)> open_{"kernel32.dll", "OpenProcess"};
};

TEST_F(UnopenedProcess, IsLookedForInTheList) {
  ChildProcess child(testFolder() + L"\\test_support_child.exe", {L"hang"});
  ASSERT_EQ(child.startError(), 0u);
  const ProcessWatch watch(child.id());
  EXPECT_EQ(open_.callCount(), 2u);
  EXPECT_FALSE(watch.hasEnded());
  EXPECT_FALSE(watch.endedWithin(10));
  child.kill();
  // It stays in the list for a moment.
  EXPECT_TRUE(waitUntil([&] { return watch.endedWithin(1); }));
  EXPECT_TRUE(watch.hasEnded());
  EXPECT_FALSE(watch.exitCode());
}

TEST_F(UnopenedProcess, CountsAsAliveWhenTheListCannotBeHad) {
  const ProcessWatch watch(GetCurrentProcessId());
  ImportHook<decltype(CreateToolhelp32Snapshot)> list("kernel32.dll", "CreateToolhelp32Snapshot");
  list.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(watch.endedWithin(1));
}

TEST_F(UnopenedProcess, CountsAsAliveWhenTheListBreaksOff) {
  const ProcessWatch watch(0x7FFFFFFD);
  ImportHook<decltype(Process32FirstW)> first("kernel32.dll", "Process32FirstW");
  first.failAllCalls(ERROR_NOT_ENOUGH_MEMORY, FALSE);
  EXPECT_FALSE(watch.hasEnded());
}

}  // namespace
}  // namespace orva_accelerator::test
