#include "tests/client/c/connected.h"

#include <gtest/gtest.h>

#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {

std::uint32_t patienceMs() {
  return static_cast<std::uint32_t>(kPatience.count());
}

std::string utf8PipeName(const std::wstring& name) {
  return std::string(name.begin(), name.end());  // The names of tests are ASCII.
}

orva_endpoint endpointOf(const std::string& utf8Name) {
  orva_endpoint endpoint{};
  endpoint.pipe_name = utf8Name.data();
  endpoint.pipe_name_length = utf8Name.size();
  endpoint.size = sizeof(endpoint);
  endpoint.trust_any_server = ORVA_TRUST_ANY_SERVER;
  return endpoint;
}

CClient connectTo(const std::wstring& pipe, std::uint32_t clientId) {
  const std::string name = utf8PipeName(pipe);
  const orva_endpoint endpoint = endpointOf(name);
  orva_client* client = nullptr;
  orva_error error;
  EXPECT_EQ(orva_client_connect(&endpoint, clientId, patienceMs(), patienceMs(), &client, &error),
            ORVA_OK)
      << error.text;
  return CClient(client);
}

CPush registerAt(const std::wstring& pipe, std::uint32_t clientId, orva_cancel* cancel) {
  const std::string name = utf8PipeName(pipe);
  orva_endpoint endpoint = endpointOf(name);
  endpoint.cancel = cancel;
  orva_push* push = nullptr;
  orva_error error;
  EXPECT_EQ(orva_push_register(&endpoint, clientId, patienceMs(), &push, &error), ORVA_OK)
      << error.text;
  return CPush(push);
}

CNotification nextOf(const CPush& push) {
  orva_notification* notification = nullptr;
  orva_error error;
  EXPECT_EQ(orva_push_next(push.get(), patienceMs(), &notification, &error), ORVA_OK) << error.text;
  return CNotification(notification);
}

std::string textOf(const orva_text& text) {
  EXPECT_EQ(text.bytes[text.length], '\0');
  return std::string(text.bytes, text.length);
}

}  // namespace orva_accelerator::test
