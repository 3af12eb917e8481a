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
  std::int32_t code = 0;
  EXPECT_EQ(orva_notification_get_login_result(notification.get(), &code), ORVA_OK);
  EXPECT_EQ(code, 1001);
}

TEST_F(CRealServer, KnowsWhoseAccelerationRuns) {
  const orva_start_request request{1, 2, 3, "text", 4, "5;6", 3};
  std::int32_t accepted = 0;
  ASSERT_EQ(orva_client_start(client_.get(), &request, &accepted, &error_), ORVA_OK);
  EXPECT_EQ(accepted, 1);
  orva_owner owner{};
  ASSERT_EQ(orva_client_query_owner(client_.get(), &owner, &error_), ORVA_OK);
  EXPECT_EQ(owner.any_acceleration, 1);
  EXPECT_EQ(owner.owned_by_caller, 1);
  const CClient other = connectTo(server_.requestPipe(), 8);
  ASSERT_EQ(orva_client_query_owner(other.get(), &owner, &error_), ORVA_OK);
  EXPECT_EQ(owner.any_acceleration, 1);
  EXPECT_EQ(owner.owned_by_caller, 0);
}

TEST_F(CRealServer, AnswersEveryQueryOfALibraryThatRefuses) {
  orva_accel_data* data = nullptr;
  ASSERT_EQ(orva_client_get_accel_data(client_.get(), &data, &error_), ORVA_OK);
  EXPECT_EQ(textOf(data, orva_accel_data_get_text, ORVA_TEXT_TEXT3), "");
  orva_accel_data_free(data);
  orva_console_data console{};
  ASSERT_EQ(orva_client_get_console_data(client_.get(), &console, &error_), ORVA_OK);
  EXPECT_EQ(console.status, 1u);
  orva_speed_summary speed{};
  ASSERT_EQ(orva_client_get_speed_summary(client_.get(), 1, 2, "key", 3, 4, &speed, &error_),
            ORVA_OK);
  EXPECT_EQ(speed.status, 0u);
  orva_used_nodes* nodes = nullptr;
  ASSERT_EQ(orva_client_get_used_nodes(client_.get(), 1, &nodes, &error_), ORVA_OK);
  EXPECT_EQ(orva_used_nodes_get_count(nodes), 0u);
  orva_used_nodes_free(nodes);
}

}  // namespace
}  // namespace orva_accelerator::test
