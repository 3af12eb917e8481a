// The pipe server with the real handlers: requests that mean nothing to anybody.
#include <gtest/gtest.h>

#include "tests/support/running_server.h"

namespace orva_accelerator::test {
namespace {

class UnknownRequest : public testing::TestWithParam<std::uint32_t> {};

TEST_P(UnknownRequest, IsAnsweredWithAHeaderOfZerosAndTheConnectionGoesOn) {
  const RunningServer server;
  RequestConnection connection(server);
  ASSERT_TRUE(connection.pipe().write(requestBytes(7, GetParam())).done());
  EXPECT_EQ(connection.pipe().read().message, Bytes(8, 0));
  const Bytes payload(100, 0xFF);
  ASSERT_TRUE(connection.pipe().write(requestBytes(7, GetParam(), payload)).done());
  EXPECT_EQ(connection.pipe().read().message, Bytes(8, 0));
}

// Neighbours of known types, a notification's type, and known types with a higher bit set.
INSTANTIATE_TEST_SUITE_P(Types, UnknownRequest,
                         testing::Values(0, 1, 0xFF, 0x103, 0x201, 0x4FF, 0x504, 0x5FF, 0x606,
                                         0x6FF, 0x701, 0x1003, 0xFFFE, 0x10000, 0x10100, 0x1FFFF,
                                         0x80000100, 0xFFFFFFFF));

TEST(KnownRequest, IsAnsweredTheSameWhateverItsReservedFieldsHold) {
  const RunningServer server;
  RequestConnection connection(server);
  const Bytes plain = requestBytes(7, 0x503);
  const auto expected = connection.askBytes(plain);
  ASSERT_TRUE(expected);
  EXPECT_FALSE(expected->empty());
  for (const std::size_t reserved : {4U, 16U}) {
    Bytes request = plain;
    for (std::size_t i = 0; i < 4; ++i) request[reserved + i] = 0xFF;
    EXPECT_EQ(connection.askBytes(request), expected);
  }
}

TEST(Heartbeat, OfAnUnknownClientIsAnsweredAndChangesNothing) {
  const RunningServer server;
  const PushConnection push(server, 7);
  const auto before = server.inspect().pushClients();
  RequestConnection connection(server);
  ASSERT_TRUE(connection.pipe().write(requestBytes(8, 0xFFFF)).done());
  const PipeOutcome answer = connection.pipe().read();
  ASSERT_TRUE(answer.done());
  EXPECT_EQ(answer.message.size(), 8U);
  const auto after = server.inspect().pushClients();
  ASSERT_EQ(after.size(), 1U);
  EXPECT_EQ(after.at(7).lastHeartbeatMs, before.at(7).lastHeartbeatMs);
}

}  // namespace
}  // namespace orva_accelerator::test
