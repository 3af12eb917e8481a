// Asking whose the acceleration is, with the four fields of the ownership in states of all kinds.

#include <gtest/gtest.h>

#include "tests/handlers/dispatched_request.h"

namespace orva_accelerator::ipc {
namespace {

using test::Bytes;

class OwnerQuery : public testing::Test {
 protected:
  Bytes askAs(std::uint32_t clientId) { return test::dispatch(server, 1283, clientId).bytes; }

  PipeServer server;
};

TEST_F(OwnerQuery, AnswersZerosToEveryClientWhileNoFlagIsSet) {
  for (const std::uint32_t client : {0U, 5U, 7U, 9U}) EXPECT_EQ(askAs(client), (Bytes{0, 0}));
  server.ownership.acceleratingClientId = 9;
  server.ownership.startPendingClientId = 7;
  for (const std::uint32_t client : {0U, 5U, 7U, 9U}) EXPECT_EQ(askAs(client), (Bytes{0, 0}));
}

TEST_F(OwnerQuery, CountsAStaleIdInTheOtherSlotAsOwner) {
  server.ownership.startPending = true;
  server.ownership.startPendingClientId = 7;
  server.ownership.acceleratingClientId = 9;
  EXPECT_EQ(askAs(9), (Bytes{1, 1}));
  EXPECT_EQ(askAs(7), (Bytes{1, 1}));
  EXPECT_EQ(askAs(5), (Bytes{1, 0}));
  server.ownership.startPending = false;
  server.ownership.accelerating = true;
  EXPECT_EQ(askAs(9), (Bytes{1, 1}));
  EXPECT_EQ(askAs(7), (Bytes{1, 1}));
  EXPECT_EQ(askAs(5), (Bytes{1, 0}));
}

TEST_F(OwnerQuery, NeverTakesClientZeroForAnOwner) {
  server.ownership.startPending = true;
  server.ownership.accelerating = true;
  EXPECT_EQ(askAs(0), (Bytes{1, 0}));
  EXPECT_EQ(askAs(0xFFFFFFFF), (Bytes{1, 0}));
  server.ownership.acceleratingClientId = 0xFFFFFFFF;
  EXPECT_EQ(askAs(0), (Bytes{1, 0}));
  EXPECT_EQ(askAs(0xFFFFFFFF), (Bytes{1, 1}));
}

}  // namespace
}  // namespace orva_accelerator::ipc
