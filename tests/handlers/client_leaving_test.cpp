#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "ipc/wire/messages.h"
#include "sdk/kernel_function_table.h"
#include "tests/handlers/acceleration_bench.h"
#include "tests/support/import_patch.h"
#include "tests/support/ownership_inspector.h"

namespace orva_accelerator::test {
namespace {

constexpr const char* kResponses = "responses.json";

class ClientLeaving : public testing::Test {
 protected:
  ClientLeaving() { EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module())); }

  FakeKernel kernel;
  RunningServer server;
  RequestConnection requests{server};
};

TEST_F(ClientLeaving, UnregistersTheClientAndClosesItsPushPipe) {
  PushConnection staying(server, 1);
  PushConnection leaving(server, 7);
  PushConnection alsoStaying(server, 8);
  PushConnection third(server, 9);
  ImportHook<decltype(Sleep)> sleep("kernel32.dll", "Sleep");
  sleep.observe([](DWORD milliseconds) { EXPECT_NE(milliseconds, 100U) << "a pause"; });
  const auto answer = requests.askBytes(goldenVector("requests.json", "client_leaving").bytes);
  ASSERT_TRUE(answer);
  EXPECT_TRUE(isPayload(goldenVector(kResponses, "client_leaving_others_remain"), *answer));
  EXPECT_TRUE(leaving.pipe().endsSilently());
  EXPECT_FALSE(server.inspect().pushClients().contains(7));
  EXPECT_TRUE(server->isRunning());
  broadcastMarker(server);
  for (PushConnection* connection : {&staying, &alsoStaying, &third}) {
    EXPECT_TRUE(markerIsNext(*connection));
  }
}

TEST_F(ClientLeaving, OfTheLastClientIsAnsweredWhenTheServerHasStopped) {
  PushConnection last(server, 7);
  ImportHook<decltype(Sleep)> sleep("kernel32.dll", "Sleep");
  const auto answer = requests.askBytes(goldenVector("requests.json", "client_leaving").bytes);
  ASSERT_TRUE(answer);
  EXPECT_TRUE(isPayload(goldenVector(kResponses, "client_leaving_last"), *answer));
  EXPECT_FALSE(server->isRunning());
  EXPECT_EQ(WaitForSingleObject(server.inspect().stopEvent(), 0), WAIT_OBJECT_0);
  const auto naps = sleep.calls();
  EXPECT_EQ(std::count(naps.begin(), naps.end(), std::tuple<DWORD>(100)), 1);
  EXPECT_TRUE(last.pipe().endsSilently());
  EXPECT_TRUE(requests.pipe().endsSilently());  // The answered request was the connection's last.
}

TEST_F(ClientLeaving, OfAClientWithIdZeroRemovesItToo) {
  PushConnection last(server, 0);
  EXPECT_EQ(requests.ask(0, ipc::MsgClientLeaving), (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_TRUE(last.pipe().endsSilently());
  EXPECT_FALSE(server->isRunning());
}

TEST_F(ClientLeaving, OfTheLastClientStopsAccelerationBeforeItsPauseAndTheServerAfterIt) {
  PushConnection last(server, 7);
  server->ownership.settle(4, 8);  // Somebody else's, so that only the emptiness ends it.
  std::vector<std::string> events;
  kernel.Kernel_StopAccel = [&](auto...) {
    events.push_back("stop acceleration");
    return sdk::KernelBool{1};
  };
  ImportHook<decltype(Sleep)> sleep("kernel32.dll", "Sleep");
  sleep.replace([&](DWORD milliseconds) {
    if (milliseconds != 100) return sleep.callOriginal(milliseconds);
    events.push_back(server->ownership.isActive() ? "pause, active" : "pause, cleared");
    events.push_back(server->isRunning() ? "running" : "not running");
  });
  ImportHook<decltype(SetEvent)> setEvent("kernel32.dll", "SetEvent");
  setEvent.observe([&](HANDLE event) {
    if (event != server.inspect().stopEvent()) return;
    events.push_back(server->isRunning() ? "signal while running" : "signal");
  });
  EXPECT_TRUE(requests.ask(7, ipc::MsgClientLeaving));
  EXPECT_EQ(events,
            (std::vector<std::string>{"stop acceleration", "pause, cleared", "running", "signal"}));
}

TEST_F(ClientLeaving, OfTheLastClientStopsTheServerThoughAnotherComesDuringItsPause) {
  PushConnection last(server, 7);
  ImportHook<decltype(Sleep)> sleep("kernel32.dll", "Sleep");
  sleep.replace([&](DWORD milliseconds) {
    if (milliseconds != 100) return sleep.callOriginal(milliseconds);
    server.inspect().putPushClient(8, {});
  });
  EXPECT_EQ(requests.ask(7, ipc::MsgClientLeaving), (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(server->isRunning());
}

TEST_F(ClientLeaving, OfTheOwnerStopsAccelerationWhileTheClientIsStillRegistered) {
  PushConnection owner(server, 7);
  PushConnection other(server, 8);
  server->ownership.settle(4, 7);
  bool wasRegistered = false;
  bool wasOwner = false;
  kernel.Kernel_StopAccel = [&](auto...) {
    wasRegistered = server.inspect().pushClients().contains(7);
    wasOwner = server->ownership.isHeldBy(7);
    return sdk::KernelBool{1};
  };
  EXPECT_EQ(requests.ask(7, ipc::MsgClientLeaving), (Bytes{0, 0, 0, 0, 1, 0, 0, 0}));
  EXPECT_TRUE(wasRegistered);
  EXPECT_TRUE(wasOwner);
  EXPECT_FALSE(server->ownership.isActive());
}

TEST_F(ClientLeaving, TwiceIsAnsweredTwice) {
  PushConnection leaving(server, 7);
  PushConnection staying(server, 8);
  EXPECT_EQ(requests.ask(7, ipc::MsgClientLeaving), (Bytes{0, 0, 0, 0, 1, 0, 0, 0}));
  EXPECT_EQ(requests.ask(7, ipc::MsgClientLeaving), (Bytes{0, 0, 0, 0, 1, 0, 0, 0}));
  EXPECT_TRUE(server->isRunning());
}

TEST_F(ClientLeaving, OfAnUnregisteredClientStopsAServerThatHasNoClients) {
  EXPECT_EQ(requests.ask(99, ipc::MsgClientLeaving), (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(server->isRunning());
  EXPECT_TRUE(kernel.calls().empty());
}

TEST_F(ClientLeaving, LeavesAnIdThatIsNoLongerAnOwnersAlone) {
  PushConnection leaving(server, 7);
  PushConnection staying(server, 8);
  const ipc::Owner staleIds[] = {{false, 7, true, 8}, {true, 8, false, 7}};
  for (const ipc::Owner& owner : staleIds) {
    set(server->ownership, owner);
    EXPECT_TRUE(requests.ask(7, ipc::MsgClientLeaving));
    EXPECT_EQ(get(server->ownership), owner);
    EXPECT_TRUE(kernel.calls().empty());
  }
}

TEST_F(ClientLeaving, LetsTheClientRegisterAgain) {
  PushConnection staying(server, 8);
  {
    PushConnection leaving(server, 7);
    EXPECT_TRUE(requests.ask(7, ipc::MsgClientLeaving));
  }
  PushConnection back(server, 7);
  broadcastMarker(server);
  EXPECT_TRUE(markerIsNext(back));
  EXPECT_EQ(server->PushClientCount(), 2U);
}

}  // namespace
}  // namespace orva_accelerator::test
