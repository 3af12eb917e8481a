// What callers get when memory runs out, at each allocation in turn. This executable replaces the
// global operators with ones that fail on demand, so nothing else is tested here.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>

#include "tests/client/c/connected.h"
#include "tests/client/fake_service.h"
#include "tests/support/replaced_heap.h"

namespace {

// Blocks that this thread may still have; below 0, any number.
thread_local long allowed = -1;

}  // namespace

void* orva_accelerator::test::allocateBlock(std::size_t size, bool /*isArray*/) {
  if (allowed == 0) throw std::bad_alloc();
  if (allowed > 0) --allowed;
  return allocateFromRuntime(size);
}

namespace orva_accelerator::test {
namespace {

constexpr long kMoreThanAnyCallNeeds = 60;

// What `call` returns when it may have only so many blocks.
orva_code withBlocks(long blocks, const std::function<orva_code()>& call) {
  allowed = blocks;
  const orva_code code = call();
  allowed = -1;
  return code;
}

class COutOfMemory : public testing::Test {
 protected:
  // Each time on a connection of its own. Gives the number of blocks with which the call succeeds.
  long expectCodesUntilEnough(const std::function<orva_code(orva_client*, orva_error*)>& call) {
    for (long blocks = 0; blocks < kMoreThanAnyCallNeeds; ++blocks) {
      const CClient client = connectTo(service_.requestPipe(), 7);
      orva_error error{};
      const orva_code code = withBlocks(blocks, [&] { return call(client.get(), &error); });
      EXPECT_EQ(error.code, code);
      if (code == ORVA_OK) return blocks;
      EXPECT_EQ(code, ORVA_ERROR_MEMORY) << "with " << blocks << " blocks: " << error.text;
      EXPECT_STREQ(error.text, orva_code_text(ORVA_ERROR_MEMORY));
      expectNoAnswerIsLeft(client.get());
    }
    ADD_FAILURE() << "never succeeds";
    return 0;
  }

  // Or it would be taken for that to the next request.
  void expectNoAnswerIsLeft(orva_client* client) {
    if (orva_client_is_usable(client) == 0) return;
    service_.answerWith("heartbeat");
    std::uint32_t clock = 0;
    EXPECT_EQ(orva_client_heartbeat(client, &clock, nullptr), ORVA_OK);
    EXPECT_EQ(clock, 12345678u);
  }

  FakeService service_;
};

TEST_F(COutOfMemory, ConnectingGivesACode) {
  const std::string name = utf8PipeName(service_.requestPipe());
  const orva_endpoint endpoint = endpointOf(name);
  long blocks = 0;
  for (; blocks < kMoreThanAnyCallNeeds; ++blocks) {
    int something = 0;
    auto* client = reinterpret_cast<orva_client*>(&something);
    const orva_code code = withBlocks(blocks, [&] {
      return orva_client_connect(&endpoint, 7, patienceMs(), patienceMs(), &client, nullptr);
    });
    EXPECT_EQ(client != nullptr, code == ORVA_OK);
    orva_client_close(client);
    if (code == ORVA_OK) break;
    EXPECT_EQ(code, ORVA_ERROR_MEMORY);
  }
  EXPECT_GT(blocks, 0);
  EXPECT_LT(blocks, kMoreThanAnyCallNeeds);
}

TEST_F(COutOfMemory, ALoginGivesACode) {
  service_.answerWith("user_login");
  const std::string account(100, 'a');
  EXPECT_GT(expectCodesUntilEnough([&](orva_client* client, orva_error* error) {
              return orva_client_login(client, account.data(), account.size(), account.data(),
                                       account.size(), error);
            }),
            2);
}

TEST_F(COutOfMemory, AStartGivesACode) {
  service_.answerWith("start_accel_accepted");
  const std::string nodes = "11111111;22222222;33333333";
  const orva_start_request request{sizeof(request), 1,           2, 3, nodes.data(), nodes.size(),
                                   nodes.data(),    nodes.size()};
  std::int32_t accepted = 0;
  EXPECT_GT(expectCodesUntilEnough([&](orva_client* client, orva_error* error) {
              return orva_client_start(client, &request, &accepted, error);
            }),
            2);
}

TEST_F(COutOfMemory, AQueryGivesACodeAndNoObject) {
  service_.answerWith("get_game_used_node_list_two");
  orva_used_nodes* nodes = nullptr;
  EXPECT_GT(expectCodesUntilEnough([&](orva_client* client, orva_error* error) {
              const orva_code code = orva_client_get_used_nodes(client, 1001, &nodes, error);
              EXPECT_EQ(nodes != nullptr, code == ORVA_OK);
              return code;
            }),
            2);
  orva_free(nodes);
}

TEST_F(COutOfMemory, ANullArgumentGivesACodeAllTheSame) {
  orva_error error{};
  EXPECT_EQ(withBlocks(0, [&] { return orva_client_stop(nullptr, &error); }), ORVA_ERROR_MEMORY);
  EXPECT_EQ(error.code, ORVA_ERROR_MEMORY);
}

TEST(COutOfMemoryPush, LosesNoNotificationWithoutAnError) {
  long blocks = 0;
  for (; blocks < kMoreThanAnyCallNeeds; ++blocks) {
    FakeService service;
    const CPush push = registerAt(service.pushPipe(), 7);
    ASSERT_TRUE(service.waitForRegistration(7));
    service.announceVector("start_accel_accelerating");
    orva_notification* notification = nullptr;
    const orva_code code = withBlocks(
        blocks, [&] { return orva_push_next(push.get(), patienceMs(), &notification, nullptr); });
    const CNotification owned(notification);
    EXPECT_EQ(notification != nullptr, code == ORVA_OK);
    if (code == ORVA_OK) break;
    EXPECT_EQ(code, ORVA_ERROR_MEMORY);
    // It is still there, or the connection is closed.
    const orva_code next = orva_push_next(push.get(), patienceMs(), &notification, nullptr);
    EXPECT_TRUE(next == ORVA_OK || next == ORVA_ERROR_USAGE) << next;
    orva_free(notification);
  }
  EXPECT_GT(blocks, 2);
  EXPECT_LT(blocks, kMoreThanAnyCallNeeds);
}

}  // namespace
}  // namespace orva_accelerator::test
