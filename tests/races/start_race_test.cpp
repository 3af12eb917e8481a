// Two clients that ask for a start at the same moment, when nothing is pending.
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "ipc/payload_buffer.h"
#include "ipc/pipe_server.h"
#include "ipc/wire/messages.h"
#include "ipc/wire/requests.h"
#include "sdk/kernel_function_table.h"
#include "tests/races/race_points.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/ownership_inspector.h"

namespace orva_accelerator::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class StartRace : public testing::TestWithParam<std::uint32_t> {
 protected:
  StartRace() { EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel_.module())); }

  // A start without texts.
  Bytes start(std::uint32_t clientId) {
    ipc::PayloadBuffer payload;
    payload.reserve(sizeof(ipc::StartAccelExRequest));
    const ipc::MessageHeader header = {
        ipc::kRequestMagic, 0, GetParam(), sizeof(ipc::StartAccelExRequest), 0, clientId};
    void* response = nullptr;
    std::uint32_t length = 0;
    ipc::DispatchRequest(server_, header, payload.readable(), response, length);
    const std::unique_ptr<std::uint8_t[]> owned(static_cast<std::uint8_t*>(response));
    return Bytes(owned.get(), owned.get() + length);
  }

  // The first client's start, held back when it has found nothing pending, until the second
  // client's is through. The first one's answer.
  Bytes startLate(std::uint32_t first, std::uint32_t second) {
    RaceGate gate{"race: start"};
    Bytes answer;
    std::thread late([&] {
      const GatedThread gated(gate);
      answer = start(first);
    });
    EXPECT_TRUE(waitUntil([&] { return gate.held == 1; }));
    EXPECT_EQ(start(second), Bytes{1});
    kernel_.clearCalls();
    gate.open = true;
    late.join();
    return answer;
  }

  FakeKernel kernel_;
  ipc::PipeServer server_;
};

TEST_P(StartRace, IsLostAsIfTheOtherStartHadBeenPending) {
  EXPECT_EQ(startLate(7, 8), Bytes{0});
  EXPECT_EQ(get(server_.ownership), (ipc::Owner{false, 0, true, 8}));
  EXPECT_TRUE(kernel_.calls().empty()) << "a second start reached the library";
}

TEST_P(StartRace, IsNoneBetweenTwoRequestsOfOneClient) {
  EXPECT_EQ(startLate(7, 7), Bytes{1});
  EXPECT_EQ(get(server_.ownership), (ipc::Owner{false, 0, true, 7}));
  EXPECT_TRUE(kernel_.calls().empty()) << "a second start reached the library";
}

INSTANTIATE_TEST_SUITE_P(Types, StartRace,
                         testing::Values(ipc::MsgStartAccel, ipc::MsgStartAccelEx));

TEST(OwnershipRace, IsSeenWithAFlagAheadOfItsOwner) {
  ipc::AccelerationOwnership ownership;
  set(ownership, {false, 9, true, 8});
  RaceGate gate{"race: owner after its flag"};
  std::thread settling([&] {
    const GatedThread gated(gate);
    ownership.settle(4, 7);
  });
  EXPECT_TRUE(waitUntil([&] { return gate.held == 1; }));
  EXPECT_EQ(get(ownership), (ipc::Owner{true, 9, true, 8}));
  gate.open = true;
  settling.join();
  EXPECT_EQ(get(ownership), (ipc::Owner{true, 7, false, 0}));
}

}  // namespace
}  // namespace orva_accelerator::test
