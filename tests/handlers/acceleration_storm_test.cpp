// Eight clients that start, stop, leave, register again and vanish at random, against a library
// that completes at random.
//
// ORVA_STORM_SECONDS (6) is how long it lasts, ORVA_STORM_SEED its seed. The seed is printed.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "ipc/wire/messages.h"
#include "sdk/kernel_function_table.h"
#include "tests/handlers/acceleration_bench.h"
#include "tests/handlers/storm_client.h"
#include "tests/handlers/storm_library.h"
#include "tests/support/ownership_inspector.h"

namespace orva_accelerator::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kClients = 8;
constexpr std::uint32_t kFirstId = 101;
constexpr std::uint32_t kKeeperId = 100;
constexpr int kRounds = 8;
// Each leaves a parked thread in the server.
constexpr unsigned kDepartures = 320;

unsigned fromEnvironment(const char* name, unsigned otherwise) {
  const char* const value = std::getenv(name);
  return value != nullptr ? static_cast<unsigned>(std::strtoul(value, nullptr, 10)) : otherwise;
}

class AccelerationStorm : public testing::Test {
 protected:
  AccelerationStorm() {
    EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
    const std::chrono::milliseconds restless(seconds * 1000 * kClients / kDepartures);
    for (unsigned i = 0; i < kClients; ++i) {
      clients.push_back(
          std::make_unique<StormClient>(server, kFirstId + i, seed + 1 + i, restless));
    }
    // The first start, refused or not, names who hears of results. What a library reports before
    // that, inside a stop for instance, goes to nobody.
    library.obey(false);
    EXPECT_EQ(ask(*clients.front(), ipc::MsgStartAccel), Bytes{0});
  }

  void stormFor(std::chrono::milliseconds time) {
    library.storm();
    const auto until = Clock::now() + time;
    std::vector<std::thread> threads;
    for (auto& client : clients) {
      threads.emplace_back([&client, until] { client->storm(until); });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_TRUE(library.drain());
  }

  // Whatever the storm has left: everybody is told the same of it, and a start that is pending is
  // its client's and nobody else's.
  void expectOneTruth() {
    const ipc::Owner left = get(server->ownership);
    const bool active = left.accelerating || left.startPending;
    library.obey(true);
    kernel.clearCalls();
    for (const auto& client : clients) {
      const std::uint32_t id = client->id();
      const bool owns = left.acceleratingClientId == id || left.startPendingClientId == id;
      const Bytes told = {std::uint8_t{active}, std::uint8_t{active && owns}};
      EXPECT_EQ(ask(*client, ipc::MsgQueryAccelOwner), told) << id << " of " << ownership();
      if (!left.startPending) continue;
      const Bytes accepted = {std::uint8_t{left.startPendingClientId == id}};
      EXPECT_EQ(ask(*client, ipc::MsgStartAccel), accepted) << id << " of " << ownership();
    }
    EXPECT_TRUE(kernel.calls().empty());
    EXPECT_EQ(get(server->ownership), left);
    const auto isKnown = [this](std::uint32_t id) {
      return id == 0 || (id >= kFirstId && id < kFirstId + clients.size());
    };
    EXPECT_TRUE(isKnown(left.acceleratingClientId) && isKnown(left.startPendingClientId))
        << ownership();
  }

  // With nobody else at work, one settling event decides who owns what.
  void settle(int round) {
    StormClient& client = *clients[static_cast<std::size_t>(round) % kClients];
    const std::uint32_t id = client.id();
    const std::string ownId = std::to_string(id);
    library.obey(true);
    EXPECT_EQ(ask(client, ipc::MsgStopAccel), Bytes{1});
    library.reportStop(0);
    EXPECT_EQ(ownership(), "- / -");
    switch (round % 5) {
      case 0:
        EXPECT_EQ(ask(client, ipc::MsgStartAccel), Bytes{1});
        library.reportState(4);
        EXPECT_EQ(ownership(), ownId + " / -");
        EXPECT_EQ(ask(client, ipc::MsgQueryAccelOwner), (Bytes{1, 1}));
        break;
      case 1:
        EXPECT_EQ(ask(client, ipc::MsgStartAccelEx), Bytes{1});
        library.reportState(6);
        EXPECT_EQ(ownership(), "- / -");
        EXPECT_EQ(ask(client, ipc::MsgQueryAccelOwner), (Bytes{0, 0}));
        break;
      case 2:
        library.obey(false);
        EXPECT_EQ(ask(client, ipc::MsgStartAccel), Bytes{0});
        EXPECT_EQ(ownership(), "- / -");
        break;
      case 3:
        EXPECT_EQ(ask(client, ipc::MsgStartAccelEx), Bytes{1});
        library.reportState(3);
        EXPECT_EQ(ownership(), "- / " + ownId);
        break;
      default:
        EXPECT_EQ(ask(client, ipc::MsgStartAccel), Bytes{1});
        library.reportState(4);
        EXPECT_EQ(ask(client, ipc::MsgClientLeaving), (Bytes{0, 0, 0, 0, 8, 0, 0, 0}));
        EXPECT_EQ(ownership(), "- / -");
        EXPECT_TRUE(waitUntil([&] { return client.listener().isClosed(); }));
        client.comeBack();
        break;
    }
  }

  std::optional<Bytes> ask(StormClient& client, std::uint32_t type) {
    Bytes payload;
    if (type == ipc::MsgStartAccel) payload.resize(20);
    if (type == ipc::MsgStartAccelEx) payload.resize(24);
    return client.requests().ask(client.id(), type, payload);
  }

  std::string ownership() const { return shown(server->ownership); }

  const unsigned seconds = fromEnvironment("ORVA_STORM_SECONDS", 6);
  const unsigned seed = fromEnvironment("ORVA_STORM_SEED", 20'261'121);
  FakeKernel kernel;
  StormLibrary library{kernel, seed};
  RunningServer server;
  // Never leaves, so that no leave is the last, and receives everything.
  ListeningConnection keeper{server, kKeeperId};
  std::vector<std::unique_ptr<StormClient>> clients;
};

TEST_F(AccelerationStorm, LeavesTheServerAliveAndEveryNotificationWhole) {
  std::printf("seed %u, %u s\n", seed, seconds);
  for (int round = 0; round < kRounds; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    stormFor(std::chrono::milliseconds(seconds * 1000 / kRounds));
    for (const auto& client : clients) {
      ASSERT_EQ(client->violation(), "");
      ASSERT_EQ(client->listener().ledger().violation(), "");
    }
    ASSERT_TRUE(server->isRunning());
    expectOneTruth();
    settle(round);
    kernel.clearCalls();
  }

  std::size_t requests = 0;
  for (const auto& client : clients) requests += client->requestCount();
  std::vector<std::uint32_t> reported = library.reported();
  std::printf("%zu requests, %zu results\n", requests, reported.size());
  EXPECT_GT(requests, 100U);

  // Every result has reached the client that was there all the time, once and whole.
  EXPECT_TRUE(waitUntil([&] { return keeper.ledger().results().size() >= reported.size(); }));
  std::vector<std::uint32_t> received = keeper.ledger().results();
  std::sort(reported.begin(), reported.end());
  std::sort(received.begin(), received.end());
  EXPECT_EQ(received, reported);
  EXPECT_EQ(keeper.ledger().violation(), "");
  EXPECT_TRUE(waitUntil([&] { return keeper.ledger().open() == 0; }));
  EXPECT_FALSE(keeper.isClosed());
}

}  // namespace
}  // namespace orva_accelerator::test
