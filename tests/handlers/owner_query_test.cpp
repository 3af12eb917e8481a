// Asking whose the acceleration is, with the four fields of the ownership in states of all kinds.

#include <gtest/gtest.h>

#include "tests/handlers/dispatched_request.h"
#include "tests/support/ownership_inspector.h"

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
  const Owner stale = {false, 9, false, 7};
  set(server.ownership, stale);
  for (const std::uint32_t client : {0U, 5U, 7U, 9U}) EXPECT_EQ(askAs(client), (Bytes{0, 0}));
  EXPECT_EQ(get(server.ownership), stale);
}

TEST_F(OwnerQuery, CountsAStaleIdInTheOtherSlotAsOwner) {
  set(server.ownership, {false, 9, true, 7});
  EXPECT_EQ(askAs(9), (Bytes{1, 1}));
  EXPECT_EQ(askAs(7), (Bytes{1, 1}));
  EXPECT_EQ(askAs(5), (Bytes{1, 0}));
  set(server.ownership, {true, 9, false, 7});
  EXPECT_EQ(askAs(9), (Bytes{1, 1}));
  EXPECT_EQ(askAs(7), (Bytes{1, 1}));
  EXPECT_EQ(askAs(5), (Bytes{1, 0}));
}

TEST_F(OwnerQuery, NeverTakesClientZeroForAnOwner) {
  set(server.ownership, {true, 0, true, 0});
  EXPECT_EQ(askAs(0), (Bytes{1, 0}));
  EXPECT_EQ(askAs(0xFFFFFFFF), (Bytes{1, 0}));
  set(server.ownership, {true, 0xFFFFFFFF, true, 0});
  EXPECT_EQ(askAs(0), (Bytes{1, 0}));
  EXPECT_EQ(askAs(0xFFFFFFFF), (Bytes{1, 1}));
}

}  // namespace
}  // namespace orva_accelerator::ipc
