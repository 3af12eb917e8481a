// Four threads register, unregister, broadcast, vanish, start and stop, and replace handlers, all
// at once, and wait where that hurts most. Afterwards nothing may be lost, left open or half done.
//
// Sixty seeds; ORVA_RACE_SEEDS=10000 in the environment for more. A failure names its seed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ipc/pipe_server.h"
#include "sdk/completions.h"
#include "tests/races/race_points.h"
#include "tests/support/ownership_inspector.h"
#include "tests/support/pipe_names.h"
#include "tests/support/pipe_server_inspector.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {
namespace {

constexpr std::size_t kThreads = 4;
constexpr std::size_t kSteps = 8;
constexpr std::uint32_t kClients = 2;
constexpr std::uint32_t kType = 0x1234;
constexpr std::array<std::uint8_t, 16> kPayload = {1, 2,  3,  4,  5,  6,  7,  8,
                                                   9, 10, 11, 12, 13, 14, 15, 16};

std::uint64_t seedCount() {
  const char* const wanted = std::getenv("ORVA_RACE_SEEDS");
  return wanted != nullptr ? std::strtoull(wanted, nullptr, 10) : 60;
}

// Both ends of one push connection.
struct Connection {
  std::weak_ptr<ipc::PushPipe> server;
  win32::UniqueFileHandle client;
};

Connection connectAndRegister(ipc::PipeServer& server, std::uint32_t id) {
  const std::wstring name = uniquePipeName(L"race");
  const HANDLE serverEnd = CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX,
                                            PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
                                            1, 8192, 8192, 0, nullptr);
  EXPECT_NE(serverEnd, INVALID_HANDLE_VALUE);
  Connection connection;
  connection.client = win32::UniqueFileHandle(CreateFileW(
      name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_TRUE(connection.client);
  DWORD mode = PIPE_READMODE_MESSAGE;
  EXPECT_TRUE(SetNamedPipeHandleState(connection.client.get(), &mode, nullptr, nullptr));
  auto pipe = std::make_shared<ipc::PushPipe>(win32::UniqueFileHandle(serverEnd));
  connection.server = pipe;
  server.RegisterPushClient(id, std::move(pipe));
  return connection;
}

// What a handler has captured: whole as long as anybody runs the handler.
class Token {
 public:
  explicit Token(std::atomic<int>& living) : living_(&living) { ++*living_; }
  ~Token() {
    --*living_;
    mark_ = 0;
  }
  bool isWhole() const { return mark_ == kMark; }

 private:
  static constexpr unsigned kMark = 0x70CE4;
  std::atomic<int>* living_;
  std::atomic<unsigned> mark_{kMark};
};

struct Stage {
  ipc::PipeServer server;
  sdk::CompletionHandler<int> handler;
  std::atomic<int> livingTokens{0};
  std::atomic<int> brokenTokens{0};
  std::atomic<std::size_t> ready{0};
  std::atomic<int> startsBegun{0};
  std::atomic<int> startsEnded{0};

  void replaceHandler() {
    handler.install([this, token = std::make_shared<Token>(livingTokens)](int) {
      if (!token->isWhole()) ++brokenTokens;
    });
  }
};

void changeOwnership(Stage& stage, RacingThread& thread) {
  ipc::AccelerationOwnership& ownership = stage.server.ownership;
  const auto client = static_cast<std::uint32_t>(1 + thread.below(kClients));
  switch (thread.below(4)) {
    case 0:
      if (ownership.beginStart(client)) ++stage.startsBegun;
      return;
    case 1:
      return ownership.forgetRunning();
    case 2:
      ++stage.startsEnded;
      return ownership.clear();
    default:
      const auto state = static_cast<std::uint32_t>(3 + thread.below(6));
      if (state >= 4 && state <= 7) ++stage.startsEnded;
      return ownership.settle(state, client);
  }
}

void step(Stage& stage, RacingThread& thread, std::vector<Connection>& connections) {
  const auto client = static_cast<std::uint32_t>(1 + thread.below(kClients));
  switch (thread.below(8)) {
    case 0:
    case 1:
      connections.push_back(connectAndRegister(stage.server, client));
      return;
    case 2:
      return stage.server.UnregisterPushClient(client);
    case 3:
    case 4:
      (void)stage.server.BroadcastPush(client, kType, kPayload.data(),
                                       kPayload.size());  // Whom it reached is looked at later.
      return;
    case 5:
      if (!connections.empty()) connections[thread.below(connections.size())].client.reset();
      return;
    case 6:
      return changeOwnership(stage, thread);
    default:
      thread.below(2) == 0 ? stage.replaceHandler() : stage.handler(1);
  }
}

void runSteps(Stage& stage, std::uint64_t seed, std::vector<Connection>& connections) {
  RacingThread thread(seed);
  ++stage.ready;
  while (stage.ready < kThreads) Sleep(0);
  for (std::size_t i = 0; i < kSteps; ++i) step(stage, thread, connections);
}

// Takes what has arrived; the error tells whether the connection still stands.
struct Received {
  std::size_t headers = 0;
  std::size_t payloads = 0;
  std::size_t others = 0;
  bool standing = false;
};

Received receive(HANDLE client) {
  Received received;
  for (;;) {
    DWORD waiting = 0;
    if (!PeekNamedPipe(client, nullptr, 0, nullptr, &waiting, nullptr)) return received;
    received.standing = true;
    if (waiting == 0) return received;
    received.standing = false;
    std::array<std::uint8_t, 64> message{};
    DWORD size = 0;
    if (!ReadFile(client, message.data(), message.size(), &size, nullptr)) return received;
    if (size == sizeof(ipc::PushFrameHeader)) {
      ++received.headers;
    } else if (size == kPayload.size() &&
               std::equal(kPayload.begin(), kPayload.end(), message.begin())) {
      ++received.payloads;
    } else {
      ++received.others;
    }
  }
}

void expectConsistent(Stage& stage, const std::vector<Connection>& connections) {
  const auto table = ipc::PipeServerInspector(stage.server).pushClients();
  EXPECT_LE(table.size(), kClients);
  for (const auto& [id, client] : table) {
    EXPECT_EQ(client.id, id);
    ASSERT_NE(client.pipe, nullptr);
    EXPECT_NE(client.pipe->get(), INVALID_HANDLE_VALUE) << "a closed pipe is registered";
  }
  for (const Connection& connection : connections) {
    const auto pipe = connection.server.lock();
    const bool registered = pipe != nullptr;
    if (registered) {
      const bool inTable = std::any_of(table.begin(), table.end(), [&pipe](const auto& entry) {
        return entry.second.pipe == pipe;
      });
      EXPECT_TRUE(inTable) << "a pipe is kept that nobody has registered";
    }
    if (!connection.client) continue;
    const Received received = receive(connection.client.get());
    EXPECT_EQ(received.standing, registered);
    EXPECT_EQ(received.headers, received.payloads) << "half a notification";
    EXPECT_EQ(received.others, 0U);
  }
}

// Its four fields may have come from different threads, but never from nowhere, and the next event
// puts them right.
void expectOwnershipInOrder(Stage& stage) {
  ipc::AccelerationOwnership& ownership = stage.server.ownership;
  const ipc::Owner left = get(ownership);
  EXPECT_LE(left.acceleratingClientId, kClients);
  EXPECT_LE(left.startPendingClientId, kClients);
  EXPECT_LE(stage.startsBegun, stage.startsEnded + 1) << "two starts were pending at once";
  EXPECT_EQ(ownership.beginStart(1), !left.startPending);
  ownership.settle(4, 2);
  EXPECT_EQ(get(ownership), (ipc::Owner{true, 2, false, 0}));
  EXPECT_TRUE(ownership.beginStart(1));
  EXPECT_EQ(get(ownership), (ipc::Owner{true, 2, true, 1}));
  ownership.clear();
  EXPECT_EQ(get(ownership), ipc::kNobody);
}

void expectNothingLeft(Stage& stage, const std::vector<Connection>& connections) {
  for (std::uint32_t id = 1; id <= kClients; ++id) stage.server.UnregisterPushClient(id);
  for (const Connection& connection : connections) {
    EXPECT_TRUE(connection.server.expired()) << "a pipe is never closed";
  }
  stage.handler.install(nullptr);
  EXPECT_EQ(stage.livingTokens, 0) << "a replaced handler lives on";
  EXPECT_EQ(stage.brokenTokens, 0) << "a handler was run that no longer was";
}

void race(std::uint64_t seed) {
  Stage stage;
  std::array<std::vector<Connection>, kThreads> connections;
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] { runSteps(stage, seed * kThreads + i, connections[i]); });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<Connection> all;
  for (auto& own : connections) {
    for (Connection& connection : own) all.push_back(std::move(connection));
  }
  expectConsistent(stage, all);
  expectOwnershipInOrder(stage);
  expectNothingLeft(stage, all);
}

TEST(Races, LoseNothingAndLeaveNothingOpen) {
  const std::uint64_t seeds = seedCount();
  for (std::uint64_t seed = 1; seed <= seeds && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    race(seed);
  }
  EXPECT_THAT(passedRacePoints(),
              testing::ElementsAre("race: between header and payload", "race: broadcast",
                                   "race: broadcast clean-up", "race: completion",
                                   "race: end of a frame", "race: handler replacement",
                                   "race: owner after its flag", "race: owner of a start",
                                   "race: registration", "race: start", "race: unregistration"));
}

}  // namespace
}  // namespace orva_accelerator::test
