// Connections of the C interface to pipes of a test's own, and what results say.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "client/c/orva_client.h"

namespace orva_accelerator::test {

template <auto release>
struct Release {
  template <typename Object>
  void operator()(Object* object) const {
    release(object);
  }
};
using CClient = std::unique_ptr<orva_client, Release<orva_client_close>>;
using CPush = std::unique_ptr<orva_push, Release<orva_push_close>>;
using CNotification = std::unique_ptr<orva_notification, Release<orva_notification_free>>;

std::uint32_t patienceMs();

// Served by whoever. `utf8Name` must live as long as the endpoint.
orva_endpoint endpointOf(const std::string& utf8Name);
std::string utf8PipeName(const std::wstring& name);

// Null, and a failed test, when it cannot be had.
CClient connectTo(const std::wstring& pipe, std::uint32_t clientId);
CPush registerAt(const std::wstring& pipe, std::uint32_t clientId);
CNotification nextOf(const CPush& push);

// What a function gave with `length`; "(none)" for a null pointer with length 0. The zero behind
// the text is checked as well.
std::string textGiven(const char* text, std::size_t length);

// The text `which` of an object, by its function.
template <typename Object, typename Function>
std::string textOf(const Object* object, Function function, orva_text which) {
  std::size_t length = 12345;
  const char* const text = function(object, which, &length);
  return textGiven(text, length);
}

}  // namespace orva_accelerator::test
