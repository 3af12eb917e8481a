#include <gmock/gmock.h>

#include "tests/simulator/loaded_simulator.h"
#include "tests/simulator/received_completions.h"

namespace orva_accelerator::test {
namespace {

using testing::ElementsAre;

class SimulatorCompletions : public LoadedSimulator {
 protected:
  sdk::KernelBool login(ReceivedCodes& received) const {
    return get<sdk::KernelUserLoginFromAccount>("Kernel_UserLoginFromAccount")(
        &received, L"玩家一", L"secret", &receiveCode);
  }
  sdk::KernelBool start(ReceivedResults& received, std::uint32_t gameId = 1001) const {
    return get<sdk::KernelStartAccel>("Kernel_StartAccel")(&received, gameId, 1, L"east-1", 1, L"",
                                                           3, &receiveResult);
  }
  sdk::KernelBool stop(ReceivedCodes& received) const {
    return get<sdk::KernelStopAccel>("Kernel_StopAccel")(&received, &receiveCode);
  }
};

TEST_F(SimulatorCompletions, LoginSucceedsOnAnotherThreadByDefault) {
  load();
  ReceivedCodes received;
  EXPECT_EQ(login(received), 1);
  ASSERT_TRUE(received.waitFor(1));
  EXPECT_EQ(received.all()[0].code, 0);
  EXPECT_NE(received.all()[0].thread, GetCurrentThreadId());
}

TEST_F(SimulatorCompletions, LoginWithoutCredentialFailsByDefault) {
  load();
  ReceivedCodes received;
  EXPECT_EQ(get<sdk::KernelUserLoginFromAccount>("Kernel_UserLoginFromAccount")(
                &received, L"somebody", L"", &receiveCode),
            1);
  ASSERT_TRUE(received.waitFor(1));
  EXPECT_THAT(codesOf(received), ElementsAre(1001));
}

TEST_F(SimulatorCompletions, StartReportsProgressAndThenAcceleratesByDefault) {
  load();
  ReceivedResults received;
  EXPECT_EQ(start(received), 1);
  ASSERT_TRUE(received.waitFor(4));
  EXPECT_THAT(statesOf(received), ElementsAre(1U, 2U, 3U, 4U));
  const ReceivedAccelResult last = received.all()[3];
  EXPECT_EQ(last.value1, 1001U);
  EXPECT_EQ(last.value2, 1U);
  EXPECT_EQ(last.text1, L"星河战纪");
  EXPECT_EQ(last.value3, 101U);
  EXPECT_EQ(last.value4, 100U);
  EXPECT_EQ(last.value5, 38U);
  EXPECT_EQ(last.text2, L"上海 电信 01");
  EXPECT_NE(last.thread, GetCurrentThreadId());
}

TEST_F(SimulatorCompletions, StopIsReportedWithCodeZeroByDefault) {
  load();
  ReceivedCodes received;
  EXPECT_EQ(stop(received), 1);
  ASSERT_TRUE(received.waitFor(1));
  EXPECT_THAT(codesOf(received), ElementsAre(0));
}

}  // namespace
}  // namespace orva_accelerator::test
