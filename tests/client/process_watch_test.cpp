#include "client/process_watch.h"

#include <gtest/gtest.h>

#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

using client::IsListed;
using client::ProcessWatch;

TEST(ProcessWatch, TakesNoProcessForOneThatHasEnded) {
  const ProcessWatch watch(0);
  EXPECT_TRUE(watch.hasEnded());
  EXPECT_FALSE(watch.ExitCode());
}

TEST(ProcessWatch, SeesThatAProcessLives) {
  const ProcessWatch watch(GetCurrentProcessId());
  EXPECT_FALSE(watch.EndedWithin(10));
  EXPECT_TRUE(IsListed(GetCurrentProcessId()));
}

TEST(ProcessWatch, TellsTheEndAndTheExitCode) {
  ChildProcess child(L"C:\\windows\\system32\\cmd.exe", {L"/c", L"there_is_no_such_command"});
  ASSERT_EQ(child.startError(), 0u);
  const ProcessWatch watch(child.id());
  EXPECT_TRUE(watch.EndedWithin(30'000));
  const auto code = child.wait();
  ASSERT_TRUE(code);
  EXPECT_NE(*code, 0u);
  EXPECT_EQ(watch.ExitCode(), *code);
}

TEST(ProcessWatch, FindsNoProcessUnderAnIdThatIsNotGivenOut) {
  // Ids are multiples of four.
  EXPECT_FALSE(IsListed(0x7FFFFFFD));
  EXPECT_TRUE(ProcessWatch(0x7FFFFFFD).hasEnded());
}

}  // namespace
}  // namespace orva_accelerator::test
