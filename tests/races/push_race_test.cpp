// Broadcasts that meet on a pipe whose client does not read.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>

#include "ipc/pipe_server.h"
#include "tests/ipc/fake_awake_clock.h"
#include "tests/ipc/message_pipe.h"
#include "tests/races/race_points.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_server_inspector.h"

namespace orva_accelerator::test {
namespace {

constexpr std::uint32_t kPayloadSize = 100;

class PushRace : public testing::Test {
 protected:
  PushRace() {
    writeFile_.observe([this](HANDLE pipe, LPCVOID, DWORD size, LPDWORD, LPOVERLAPPED) {
      if (size != kFillingSize && pipe == fullPipe_) ++writes_;
    });
    server_.RegisterPushClient(1, full_->server);
    server_.RegisterPushClient(2, reading_->server);
    fullPipe_ = full_->server->get();
  }
  ~PushRace() override {
    server_.UnregisterPushClient(1);
    server_.UnregisterPushClient(2);
  }

  bool broadcast(std::uint32_t clientId) {
    const std::uint8_t payload[kPayloadSize] = {};
    return server_.BroadcastPush(clientId, 1, payload, sizeof(payload));
  }
  // Leaves room in the first pipe for so many bytes.
  void fillFirstPipeUpTo(DWORD room) {
    const std::vector<std::uint8_t> message(MessagePipe::kBuffer - room);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(fullPipe_, message.data(), static_cast<DWORD>(message.size()), &written,
                          nullptr));
    writes_ = 0;
  }
  // A broadcast for client 7 that fails on the first pipe and is held at the gate.
  std::thread broadcastThatFails(RaceGate& gate, int writes) {
    std::thread thread([this, &gate] {
      const GatedThread gated(gate);
      (void)broadcast(7);
    });
    EXPECT_TRUE(waitUntil([this, writes] { return writes_ == writes; }));
    clock_.set(2000);
    EXPECT_TRUE(waitUntil([&gate] { return gate.held == 1; }));
    return thread;
  }

  FakeAwakeClock clock_;
  std::atomic<HANDLE> fullPipe_{nullptr};
  std::atomic<int> writes_{0};
  ImportHook<decltype(WriteFile)> writeFile_{"kernel32.dll", "WriteFile"};
  ipc::PipeServer server_;
  std::optional<MessagePipe> full_{std::in_place};
  std::optional<MessagePipe> reading_{std::in_place};
};

// The header of the first broadcast is in the pipe when its payload is cancelled; then the client
// reads on.
TEST_F(PushRace, LeavesNoNotificationCutInTheMiddleOfTheStream) {
  fillFirstPipeUpTo(sizeof(ipc::PushFrameHeader) + 1);
  RaceGate gate{"race: end of a frame"};
  std::thread failing = broadcastThatFails(gate, 2);
  std::thread later([&] { EXPECT_TRUE(broadcast(8)); });
  EXPECT_GT(full_->client.read().message.size(), kPayloadSize);  // What had filled the pipe.
  EXPECT_EQ(full_->client.read().message.size(), sizeof(ipc::PushFrameHeader));
  const PipeOutcome behind = full_->client.read(std::chrono::milliseconds(200));
  EXPECT_TRUE(behind.message.empty()) << behind.message.size() << " bytes of the next notification";
  gate.open = true;
  failing.join();
  later.join();
  EXPECT_TRUE(full_->client.endsSilently());
  EXPECT_EQ(writes_, 2);
}

// The first broadcast has failed on the pipe and goes on: the client is still in the table.
TEST_F(PushRace, LetsNoBroadcastWaitForAPipeThatHasFailed) {
  fillPipe(fullPipe_);
  RaceGate gate{"race: broadcast clean-up"};
  std::thread failing = broadcastThatFails(gate, 1);
  EXPECT_NE(ipc::PipeServerInspector(server_).pushPipe(1), nullptr);
  EXPECT_TRUE(broadcast(8));  // Though the clock stands still.
  EXPECT_EQ(writes_, 1);
  gate.open = true;
  failing.join();
  EXPECT_EQ(server_.PushClientCount(), 1U);
}

}  // namespace
}  // namespace orva_accelerator::test
