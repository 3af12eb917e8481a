// The client library with the installed service, which it starts and stops itself.
#include <gtest/gtest.h>

#include "client/include/orva_client.h"
#include "client/outcome.h"
#include "client/service_control.h"
#include "service/shared_names.h"
#include "tests/client/deadlines.h"
#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

using namespace client;

using ClientOfTheInstalledService = ServiceFixture;

Endpoint startingIt(Endpoint endpoint) {
  endpoint.startService = true;
  return endpoint;
}

TEST_F(ClientOfTheInstalledService, StartsItHearsOutcomesAndSeesItEnd) {
  ASSERT_TRUE(install());
  auto listening =
      connectListening(startingIt(RequestChannel::defaultEndpoint()),
                       startingIt(PushChannel::defaultEndpoint()), 7, patient(), kPatience);
  ASSERT_TRUE(listening.ok()) << describe(listening.error());
  auto& [push, asking] = listening.value();
  ASSERT_EQ(asking.Init({}).value(), 1);
  ASSERT_TRUE(asking.login({"player", "secret"}).ok());
  const auto login = awaitOutcome(push, Awaited::Login, patient());
  ASSERT_TRUE(login.ok()) << describe(login.error());
  EXPECT_EQ(login.value()->login->success, 1);

  const auto stopped = stopAndWait(service::kServiceName, patient());
  ASSERT_TRUE(stopped.ok()) << describe(stopped.error());
  EXPECT_TRUE(stopped.value().wasRunning);
  const auto next = awaitOutcome(push, Awaited::Stop, patient());
  EXPECT_EQ(next.error().kind, ErrorKind::HungUp);
  EXPECT_EQ(next.error().text, "the service has ended");
}

TEST_F(ClientOfTheInstalledService, StartsAndStopsItInC) {
  ASSERT_TRUE(install());
  const auto patience = static_cast<std::uint32_t>(kPatience.count());
  EXPECT_EQ(orva_service_wait_until_running(nullptr, 0, nullptr), ORVA_ERROR_TIMEOUT);
  EXPECT_EQ(orva_service_wait_until_ended(nullptr, 0, nullptr), ORVA_OK);
  EXPECT_EQ(orva_service_start(nullptr, patience, nullptr), ORVA_OK);
  EXPECT_EQ(orva_service_wait_until_running(nullptr, 0, nullptr), ORVA_OK);
  EXPECT_EQ(orva_service_wait_until_ended(nullptr, 0, nullptr), ORVA_ERROR_TIMEOUT);
  EXPECT_EQ(orva_service_stop(nullptr, patience, nullptr), ORVA_OK);
  EXPECT_EQ(orva_service_wait_until_ended(nullptr, 0, nullptr), ORVA_OK);
}

TEST_F(ClientOfTheInstalledService, DoesNotStartItUnasked) {
  ASSERT_TRUE(install());
  const auto channel = RequestChannel::open(RequestChannel::defaultEndpoint(), patient());
  EXPECT_EQ(channel.error().kind, ErrorKind::NotRunning);
}

}  // namespace
}  // namespace orva_accelerator::test
