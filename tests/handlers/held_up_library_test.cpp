// A library that takes its time over one call: whom else that holds up.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <string_view>
#include <thread>

#include "ipc/wire/messages.h"
#include "sdk/completions.h"
#include "tests/handlers/dispatched_request.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/initialised_kernel.h"
#include "tests/support/scripted_game.h"

namespace orva_accelerator::ipc {
namespace {

// A game that the library knows, and no texts.
constexpr std::array<std::uint8_t, 24> kPayload = {0xE9, 0x03};

struct Call {
  const char* function;
  MessageType request;  // That leads to it.
};

class HeldUpLibrary : public testing::TestWithParam<Call> {
 protected:
  HeldUpLibrary() {
    test::answerForGame(kernel, std::make_shared<test::ScriptedGame>());
#define ORVA_HOLD_UP(name, ...)                       \
  if (GetParam().function == std::string_view(#name)) \
    kernel.name = [this](auto...) { return holdUp(); };
    ORVA_CALLED_KERNEL_FUNCTIONS(ORVA_HOLD_UP)
#undef ORVA_HOLD_UP
    if (initialises()) sdk::AccelSdk::Instance().Release();
    forgetHandlers();
  }
  ~HeldUpLibrary() override { forgetHandlers(); }

  // They know servers of their tests.
  static void forgetHandlers() {
    sdk::loginResultHandler.install({});
    sdk::stopResultHandler.install({});
    sdk::accelResultHandler.install({});
  }

  static bool initialises() { return GetParam().request == MsgSdkInit; }
  // These have the binding's mutex, which an initialisation keeps to its end.
  static bool waitsForInitialisation(MessageType type) {
    return type == MsgSdkInit || type == MsgSdkRelease || type == MsgStartAccel ||
           type == MsgStartAccelEx || type == MsgStopAccel;
  }

  sdk::KernelBool holdUp() {
    if (heldUp.exchange(true)) return 1;
    other = std::thread([this] {
      askForEverything();
      done = true;
    });
    EXPECT_TRUE(test::waitUntil([this] { return done.load(); }));
    return 1;
  }

  // The queries come ahead of the release. A leave does what a stop does, and pauses.
  void askForEverything() {
    for (auto row = kMessages.rbegin(); row != kMessages.rend(); ++row) {
      if (row->type == MsgClientLeaving) continue;
      if (initialises() && waitsForInitialisation(row->type)) continue;
      (void)test::dispatch(server, row->type, 8, kPayload);
    }
    const sdk::KernelAccelResult result = {};
    sdk::OnAccelResult(nullptr, nullptr, &result);
    sdk::OnStopResult(nullptr, 0, nullptr);
    sdk::OnLoginResult(nullptr, 0, nullptr);
  }

  test::InitialisedKernel kernel;
  PipeServer server;
  std::atomic<bool> heldUp = false;
  std::atomic<bool> done = false;
  std::thread other;
};

TEST_P(HeldUpLibrary, HoldsUpNobodyElse) {
  (void)test::dispatch(server, GetParam().request, 7, kPayload);
  ASSERT_TRUE(heldUp);
  other.join();
}

INSTANTIATE_TEST_SUITE_P(
    InOneCall, HeldUpLibrary,
    testing::Values(Call{"Kernel_Init", MsgSdkInit}, Call{"Kernel_SetSdkChannelNumber", MsgSdkInit},
                    Call{"Kernel_UserLoginFromAccount", MsgUserLogin},
                    Call{"Kernel_StartAccel", MsgStartAccel},
                    Call{"Kernel_StartAccelEx", MsgStartAccelEx},
                    Call{"Kernel_StopAccel", MsgStopAccel},
                    Call{"Kernel_GetAccelData", MsgGetAccelData},
                    Call{"Kernel_GetConsoleData", MsgGetConsoleData},
                    Call{"Kernel_GetGameDataFromGameID", MsgGetGameAccelInfo},
                    Call{"Kernel_GetGameLastAccelInfo", MsgGetGameLastAccelInfo},
                    Call{"Kernel_GetGameServerDataList", MsgGetGameAccelInfo},
                    Call{"Kernel_GetGameNodeDataList", MsgGetGameAccelInfo},
                    Call{"Kernel_GetGameUsedNodeDataList", MsgGetGameUsedNodeList},
                    Call{"Kernel_GetTestSpeedData_V2", MsgGetTestSpeedData}),
    [](const auto& call) { return std::string(call.param.function); });

}  // namespace
}  // namespace orva_accelerator::ipc
