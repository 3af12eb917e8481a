// Logins, starts and stops of the simulated library, which it completes later.
#pragma once

#include "tests/simulator/loaded_simulator.h"

namespace orva_accelerator::test {

class SimulatorCompletions : public LoadedSimulator {
 protected:
  sdk::KernelBool login(ReceivedCodes& received) const {
    return get<sdk::signature::Kernel_UserLoginFromAccount>("Kernel_UserLoginFromAccount")(
        &received, L"玩家一", L"secret", &receiveCode);
  }
  sdk::KernelBool start(ReceivedResults& received, std::uint32_t gameId = 1001) const {
    return get<sdk::signature::Kernel_StartAccel>("Kernel_StartAccel")(
        &received, gameId, 1, L"east-1", 1, L"", 3, &receiveResult);
  }
  sdk::KernelBool stop(ReceivedCodes& received) const {
    return get<sdk::signature::Kernel_StopAccel>("Kernel_StopAccel")(&received, &receiveCode);
  }
};

}  // namespace orva_accelerator::test
