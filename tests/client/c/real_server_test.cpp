// The C interface against the service's own pipe server, with a library that does as it is told.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/client/c/connected.h"
#include "tests/support/fake_kernel.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::test {
namespace {

class CRealServer : public testing::Test {
 protected:
  // Registered as the service has noticed it.
  void SetUp() override {
    push_ = registerAt(server_.pushPipe(), 7);
    client_ = connectTo(server_.requestPipe(), 7);
    ASSERT_TRUE(push_ && client_);
    ASSERT_TRUE(waitUntil([this] { return server_.inspect().pushPipe(7) != nullptr; }));
    std::int32_t result = 0;
    ASSERT_EQ(orva_client_init(client_.get(), 1, 0, "name", 4, &result, &error_), ORVA_OK);
    ASSERT_EQ(result, 1);
  }

  FakeKernel kernel_;
  RunningServer server_;
  CPush push_;
  CClient client_;
  orva_error error_{};
};

TEST_F(CRealServer, AnnouncesTheOutcomeOfALogin) {
  ASSERT_EQ(orva_client_login(client_.get(), "me", 2, "secret", 6, &error_), ORVA_OK);
  kernel_.loginCompletion()(nullptr, 1001, nullptr);
  const CNotification notification = nextOf(push_);
  ASSERT_NE(notification->login, nullptr);
  EXPECT_EQ(notification->login->code, 1001);
}

TEST_F(CRealServer, KnowsWhoseAccelerationRuns) {
  const orva_start_request request{sizeof(request), 1, 2, 3, "text", 4, "5;6", 3};
  std::int32_t accepted = 0;
  ASSERT_EQ(orva_client_start(client_.get(), &request, &accepted, &error_), ORVA_OK);
  EXPECT_EQ(accepted, 1);
  const auto ownerFor = [](const CClient& client) {
    return given<orva_owner>(
        [&](auto** out, auto* error) { return orva_client_query_owner(client.get(), out, error); });
  };
  EXPECT_EQ(ownerFor(client_)->any_acceleration, 1);
  EXPECT_EQ(ownerFor(client_)->owned_by_caller, 1);
  const CClient other = connectTo(server_.requestPipe(), 8);
  EXPECT_EQ(ownerFor(other)->any_acceleration, 1);
  EXPECT_EQ(ownerFor(other)->owned_by_caller, 0);
}

TEST_F(CRealServer, AnswersEveryQueryOfALibraryThatRefuses) {
  orva_client* const client = client_.get();
  const auto data = given<orva_accel_data>(
      [&](auto** out, auto* error) { return orva_client_get_accel_data(client, out, error); });
  EXPECT_EQ(textOf(data->text3), "");
  const auto console = given<orva_console_data>(
      [&](auto** out, auto* error) { return orva_client_get_console_data(client, out, error); });
  EXPECT_EQ(console->status, 1u);
  const auto speed = given<orva_speed_summary>([&](auto** out, auto* error) {
    return orva_client_get_speed_summary(client, 1, 2, "key", 3, 4, out, error);
  });
  EXPECT_EQ(speed->status, 0u);
  const auto nodes = given<orva_used_nodes>(
      [&](auto** out, auto* error) { return orva_client_get_used_nodes(client, 1, out, error); });
  EXPECT_EQ(nodes->count, 0u);
}

}  // namespace
}  // namespace orva_accelerator::test
