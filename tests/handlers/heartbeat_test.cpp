// Heartbeats: what they answer and what they stamp.

#include <gtest/gtest.h>

#include "ipc/monotonic_clock.h"
#include "tests/handlers/dispatched_request.h"
#include "tests/support/pipe_server_inspector.h"

namespace orva_accelerator::ipc {
namespace {

using test::Bytes;
using test::dispatch;

TEST(Heartbeat, AnswersTheLowWordOfTheMonotonicClock) {
  PipeServer server;
  const auto before = static_cast<std::uint32_t>(static_cast<std::uint64_t>(monotonicMs()));
  const Bytes answer = dispatch(server, 65535, 7).bytes;
  const auto after = static_cast<std::uint32_t>(static_cast<std::uint64_t>(monotonicMs()));
  ASSERT_EQ(answer.size(), 4U);
  const std::uint32_t told = answer[0] | std::uint32_t{answer[1]} << 8U |
                             std::uint32_t{answer[2]} << 16U | std::uint32_t{answer[3]} << 24U;
  EXPECT_LE(told - before, after - before);  // Right across a wrap too.
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
