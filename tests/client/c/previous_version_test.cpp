// What was built with an older header of the same major version runs with the DLL of today.
#include <gtest/gtest.h>

#include "tests/client/fake_service.h"
#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

TEST(ProgramOfThePreviousVersion, RunsWithTheDllOfToday) {
  FakeService service;
  service.answerWith("start_accel_accepted");
  service.answerWith("get_game_used_node_list_two");
  service.announceAfter(0x500, {"start_accel_accelerating"});
  // In the folder of the DLL, where the system looks for it too.
  ChildProcess program(testFolder() + L"\\orva_previous_program.exe",
                       {service.requestPipe(), service.pushPipe()}, shippedFile(L""));
  ASSERT_EQ(program.startError(), 0u);
  EXPECT_EQ(program.wait(std::chrono::seconds(60)), DWORD{0});
  EXPECT_EQ(program.output(), "accepted 1\r\nstate 4, asia-1\r\nnodes 2\r\n");
  EXPECT_EQ(program.errors(), "");
}

}  // namespace
}  // namespace orva_accelerator::test
