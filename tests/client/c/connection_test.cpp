// Connecting, and what a connection says about itself.
#include <gmock/gmock.h>
#include <windows.h>

#include <thread>

#include "tests/client/c/connected.h"
#include "tests/client/fake_service.h"

namespace orva_accelerator::test {
namespace {

using testing::HasSubstr;

// Tries to connect, and gives the code; the client must be there exactly if that is ORVA_OK.
orva_code connectBy(const orva_endpoint& endpoint, std::uint32_t clientId, std::uint32_t timeoutMs,
                    orva_error* error) {
  int something = 0;
  auto* client = reinterpret_cast<orva_client*>(&something);
  const orva_code code =
      orva_client_connect(&endpoint, clientId, timeoutMs, patienceMs(), &client, error);
  EXPECT_EQ(client != nullptr, code == ORVA_OK);
  orva_client_close(client);
  return code;
}

TEST(CConnection, SaysThatNobodyServesThePipe) {
  const std::string name = utf8PipeName(uniquePipeName(L"nobody"));
  orva_error error;
  EXPECT_EQ(connectBy(endpointOf(name), 7, 0, &error), ORVA_ERROR_NOT_RUNNING);
  EXPECT_EQ(error.code, ORVA_ERROR_NOT_RUNNING);
  EXPECT_EQ(error.win32_code, DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_THAT(error.text, HasSubstr("the service is not running"));
}

TEST(CConnection, IsRefusedWhenSomebodyElseServesThePipe) {
  FakeService service;
  const std::string name = utf8PipeName(service.requestPipe());
  orva_endpoint endpoint = endpointOf(name);
  endpoint.trust_any_server = 0;
  const std::string noSuchService = "OrvaNoSuchService";
  endpoint.service_name = noSuchService.data();
  endpoint.service_name_length = noSuchService.size();
  orva_error error;
  EXPECT_EQ(connectBy(endpoint, 7, patienceMs(), &error), ORVA_ERROR_NOT_INSTALLED);
  EXPECT_EQ(error.win32_code, DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
  EXPECT_TRUE(service.requests().empty());
}

TEST(CConnection, TakesNoNameThatCannotBeOne) {
  orva_error error;
  const std::string notUtf8 = "\\\\.\\pipe\\\xFF\xFE";
  EXPECT_EQ(connectBy(endpointOf(notUtf8), 7, 0, &error), ORVA_ERROR_USAGE);
  EXPECT_THAT(error.text, HasSubstr("pipe_name is not UTF-8"));
  const std::string withZero("\\\\.\\pipe\\a\0b", 12);
  EXPECT_EQ(connectBy(endpointOf(withZero), 7, 0, &error), ORVA_ERROR_USAGE);
  const std::string tooLong(40'000, 'x');
  EXPECT_EQ(connectBy(endpointOf(tooLong), 7, 0, &error), ORVA_ERROR_USAGE);
  orva_endpoint endpoint{};
  endpoint.size = sizeof(endpoint);
  endpoint.service_name_length = 1;
  EXPECT_EQ(connectBy(endpoint, 7, 0, &error), ORVA_ERROR_USAGE);
  EXPECT_THAT(error.text, HasSubstr("service_name is NULL"));
}

TEST(CConnection, TakesNoEndpointThatNobodyInitialised) {
  FakeService service;
  const std::string name = utf8PipeName(service.requestPipe());
  orva_error error;
  orva_endpoint endpoint = endpointOf(name);
  for (const std::size_t size : {std::size_t{0}, sizeof(endpoint) - 8, sizeof(endpoint) + 8}) {
    endpoint.size = size;
    EXPECT_EQ(connectBy(endpoint, 7, 0, &error), ORVA_ERROR_USAGE);
    EXPECT_THAT(error.text, HasSubstr("size"));
  }
  endpoint.size = sizeof(endpoint);
  for (const int garbage : {1, -1, 0x55555555}) {
    endpoint.trust_any_server = garbage;
    EXPECT_EQ(connectBy(endpoint, 7, 0, &error), ORVA_ERROR_USAGE);
    EXPECT_THAT(error.text, HasSubstr("trust_any_server"));
  }
}

TEST(CConnection, CanBeCancelledWhileItWaitsForAnAnswer) {
  FakeService service;
  service.answer(0xFFFF, {});
  const std::string name = utf8PipeName(service.requestPipe());
  orva_cancel* cancel = nullptr;
  ASSERT_EQ(orva_cancel_create(&cancel, nullptr), ORVA_OK);
  orva_endpoint endpoint = endpointOf(name);
  endpoint.cancel = cancel;
  orva_client* client = nullptr;
  ASSERT_EQ(orva_client_connect(&endpoint, 7, patienceMs(), UINT32_MAX, &client, nullptr), ORVA_OK);
  orva_code code = ORVA_OK;
  std::thread waiting([&] {
    std::uint32_t clock = 0;
    code = orva_client_heartbeat(client, &clock, nullptr);
  });
  EXPECT_TRUE(waitUntil([&] { return service.countOf(0xFFFF) == 1; }));
  EXPECT_EQ(orva_cancel_set(cancel, nullptr), ORVA_OK);
  waiting.join();
  EXPECT_EQ(code, ORVA_ERROR_INTERRUPTED);
  EXPECT_EQ(orva_client_is_usable(client), 0);
  orva_client_close(client);
  orva_cancel_close(cancel);
}

TEST(CConnection, CanBeCancelledWhileItIsMade) {
  const std::string name = utf8PipeName(uniquePipeName(L"nobody"));
  orva_cancel* cancel = nullptr;
  ASSERT_EQ(orva_cancel_create(&cancel, nullptr), ORVA_OK);
  ASSERT_EQ(orva_cancel_set(cancel, nullptr), ORVA_OK);
  orva_endpoint endpoint = endpointOf(name);
  endpoint.cancel = cancel;
  orva_error error;
  EXPECT_EQ(connectBy(endpoint, 7, UINT32_MAX, &error), ORVA_ERROR_INTERRUPTED);
  ASSERT_EQ(orva_cancel_reset(cancel, nullptr), ORVA_OK);
  EXPECT_EQ(connectBy(endpoint, 7, 0, &error), ORVA_ERROR_NOT_RUNNING);
  orva_cancel_close(cancel);
}

TEST(CService, SaysThatItIsNotInstalled) {
  const std::string name = "OrvaNoSuchService";
  orva_endpoint endpoint{};
  endpoint.size = sizeof(endpoint);
  endpoint.service_name = name.data();
  endpoint.service_name_length = name.size();
  EXPECT_EQ(orva_service_start(&endpoint, 0, nullptr), ORVA_ERROR_NOT_INSTALLED);
  EXPECT_EQ(orva_service_stop(&endpoint, 0, nullptr), ORVA_ERROR_NOT_INSTALLED);
  EXPECT_EQ(orva_service_wait_until_running(&endpoint, 0, nullptr), ORVA_ERROR_NOT_INSTALLED);
  EXPECT_EQ(orva_service_wait_until_ended(&endpoint, 0, nullptr), ORVA_ERROR_NOT_INSTALLED);
}

TEST(CConnection, WantsAClientIdOtherThanZero) {
  FakeService service;
  const std::string name = utf8PipeName(service.requestPipe());
  orva_error error;
  EXPECT_EQ(connectBy(endpointOf(name), 0, 0, &error), ORVA_ERROR_USAGE);
  orva_push* push = nullptr;
  const orva_endpoint endpoint = endpointOf(name);
  EXPECT_EQ(orva_push_register(&endpoint, 0, 0, &push, &error), ORVA_ERROR_USAGE);
  EXPECT_EQ(push, nullptr);
}

TEST(CConnection, TellsItsIdAndWhetherItCanBeUsed) {
  FakeService service;
  const CClient client = connectTo(service.requestPipe(), 0x01020304);
  EXPECT_EQ(orva_client_get_id(client.get()), 0x01020304u);
  EXPECT_EQ(orva_client_is_usable(client.get()), 1);
  EXPECT_EQ(orva_client_get_id(nullptr), 0u);
  EXPECT_EQ(orva_client_is_usable(nullptr), 0);
}

TEST(CConnection, CannotBeUsedAfterARequestRanOutOfTime) {
  FakeService service;
  service.answer(0xFFFF, {});
  const CClient client = connectTo(service.requestPipe(), 7);
  orva_error error;
  ASSERT_EQ(orva_client_set_timeout(client.get(), 50, &error), ORVA_OK);
  std::uint32_t clock = 99;
  EXPECT_EQ(orva_client_heartbeat(client.get(), &clock, &error), ORVA_ERROR_TIMEOUT);
  EXPECT_EQ(clock, 99u);
  EXPECT_EQ(orva_client_is_usable(client.get()), 0);
  EXPECT_EQ(orva_client_heartbeat(client.get(), &clock, &error), ORVA_ERROR_USAGE);
  EXPECT_THAT(error.text, HasSubstr("closed after an earlier error"));
}

TEST(CConnection, TakesTheLongestTimeoutThereIs) {
  FakeService service;
  service.answerWith("heartbeat");
  const std::string name = utf8PipeName(service.requestPipe());
  const orva_endpoint endpoint = endpointOf(name);
  orva_client* client = nullptr;
  ASSERT_EQ(orva_client_connect(&endpoint, 7, UINT32_MAX, UINT32_MAX, &client, nullptr), ORVA_OK);
  std::uint32_t clock = 0;
  EXPECT_EQ(orva_client_heartbeat(client, &clock, nullptr), ORVA_OK);
  EXPECT_EQ(clock, 12345678u);
  orva_client_close(client);
}

}  // namespace
}  // namespace orva_accelerator::test
