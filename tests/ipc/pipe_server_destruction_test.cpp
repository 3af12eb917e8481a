// Destroying a server under full load. Whatever its threads are doing, the process ends in the one
// intended way, and never by touching what is gone.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <thread>

#include "tests/ipc/channel_test.h"
#include "win32/detached_thread.h"

namespace orva_accelerator::test {
namespace {

class BusyServerDeathTest : public ChannelTest {
 protected:
  // Client threads are never joined: this process only ends by the destruction.
  void keepBusy() {
    for (std::uint32_t id = 1; id <= 4; ++id) {
      win32::startDetachedThread([this, id] { sendRequests(id); });
      win32::startDetachedThread([this, id] { registerAgainAndAgain(id); });
      win32::startDetachedThread([this] {
        const std::uint8_t payload[8] = {};
        for (;;) (void)server_.BroadcastPush(1, 2, payload, sizeof(payload));
      });
    }
  }

  // Errors do not matter here: pipes break when the server goes.
  void sendRequests(std::uint32_t id) const {
    for (;;) {
      RawPipeClient client;
      if (client.open(requestName_) != 0) continue;
      for (int i = 0; i < 20; ++i) {
        (void)client.write(requestBytes(kEchoType, patternBytes(100), id));
        (void)client.readBytes(116, std::chrono::milliseconds(500));
      }
    }
  }
  void registerAgainAndAgain(std::uint32_t id) const {
    for (;;) {
      RawPipeClient client;
      if (client.open(pushName_) != 0) continue;
      (void)client.write(u32Bytes({id}));
      for (int i = 0; i < 20; ++i) (void)client.read(std::chrono::milliseconds(50));
    }
  }

  static void sleepForALittle() {
    std::random_device random;
    std::this_thread::sleep_for(std::chrono::microseconds(20'000 + random() % 50'000));
  }
};

TEST_F(BusyServerDeathTest, AlwaysEndsInTheSameWay) {
  for (int round = 0; round < 15; ++round) {
    EXPECT_EXIT(
        {
          start();
          keepBusy();
          sleepForALittle();
          delete &server_;
        },
        testing::ExitedWithCode(3), "");
  }
}

TEST_F(BusyServerDeathTest, AlwaysEndsInTheSameWayAfterAStop) {
  for (int round = 0; round < 10; ++round) {
    EXPECT_EXIT(
        {
          start();
          keepBusy();
          sleepForALittle();
          server_.stop();
          sleepForALittle();
          delete &server_;
        },
        testing::ExitedWithCode(3), "");
  }
}

}  // namespace
}  // namespace orva_accelerator::test
