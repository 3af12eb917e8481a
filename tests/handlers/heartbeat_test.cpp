// Heartbeats: what they answer and what they stamp.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>

#include "ipc/monotonic_clock.h"
#include "tests/handlers/dispatched_request.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_server_inspector.h"

namespace orva_accelerator::ipc {
namespace {

using test::Bytes;
using test::dispatch;

// Just before the next millisecond, after seven weeks.
constexpr std::int64_t kMicroseconds = 0x1'2345'6789 * 1'000 + 999;

class HeartbeatClock : public testing::Test {
 protected:
  HeartbeatClock() {
    LARGE_INTEGER frequency = {};
    EXPECT_TRUE(QueryPerformanceFrequency(&frequency));
    const std::int64_t ticks = kMicroseconds * (frequency.QuadPart / 1'000) / 1'000;
    counter_.replace([this, ticks, step = frequency.QuadPart](LARGE_INTEGER* counter) -> BOOL {
      counter->QuadPart = ticks + (goesOn ? ++readings * step : 0);
      return TRUE;
    });
  }

  PipeServer server;
  PipeServerInspector inspector{server};
  bool goesOn = false;  // A second at each reading.
  std::int64_t readings = 0;

 private:
  test::ImportHook<decltype(QueryPerformanceCounter)> counter_{"kernel32.dll",
                                                               "QueryPerformanceCounter"};
};

TEST_F(HeartbeatClock, IsAnsweredAsTheLowWordOfItsWholeMilliseconds) {
  EXPECT_EQ(dispatch(server, 65535, 7).bytes, (Bytes{0x89, 0x67, 0x45, 0x23}));
}

TEST_F(HeartbeatClock, IsStampedWhole) {
  inspector.putPushClient(7, {});
  inspector.putPushClient(0, {});
  (void)dispatch(server, 65535, 7);
  (void)dispatch(server, 65535, 0);
  EXPECT_EQ(inspector.pushClients().at(7).lastHeartbeatMs, 0x1'2345'6789);
  EXPECT_EQ(inspector.pushClients().at(0).lastHeartbeatMs, 0x1'2345'6789);
  EXPECT_EQ(inspector.lastActivityMs(), 0x1'2345'6789);
}

TEST_F(HeartbeatClock, IsReadForTheAnswerAfterItsStamps) {
  inspector.putPushClient(7, {});
  goesOn = true;
  EXPECT_EQ(dispatch(server, 65535, 7).bytes, (Bytes{0x41, 0x73, 0x45, 0x23}));  // 3,000 later.
}

TEST_F(HeartbeatClock, IsNotStampedByOtherRequests) {
  inspector.putPushClient(7, {});
  for (const std::uint32_t type : {0U, 258U, 512U, 1283U, 1536U}) (void)dispatch(server, type, 7);
  EXPECT_EQ(inspector.pushClients().at(7).lastHeartbeatMs, 0);
}

TEST(Heartbeat, TouchesTheCallersPushClientAndNoOther) {
  PipeServer server;
  PipeServerInspector inspector(server);
  inspector.putPushClient(7, {});
  inspector.putPushClient(8, {});
  const std::int64_t untouched = inspector.pushClients().at(8).lastHeartbeatMs;
  const std::int64_t before = monotonicMs();
  (void)dispatch(server, 65535, 7);
  (void)dispatch(server, 65535, 9);
  EXPECT_GE(inspector.pushClients().at(7).lastHeartbeatMs, before);
  EXPECT_EQ(inspector.pushClients().at(8).lastHeartbeatMs, untouched);
  EXPECT_EQ(inspector.pushClients().size(), 2U);
}

}  // namespace
}  // namespace orva_accelerator::ipc
