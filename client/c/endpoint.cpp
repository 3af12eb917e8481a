#include "client/c/endpoint.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>

#include "client/c/boundary.h"
#include "win32/utf8.h"

namespace orva_accelerator::client {
namespace {

constexpr std::uint32_t kLongestTimeoutMs = 0x7FFFFFFF;

Result<Done> replace(std::wstring& name, const char* utf8, std::size_t length, const char* function,
                     const char* field) {
  if (length == 0) return Done{};
  if (utf8 == nullptr) return misuse(function, std::string(field) + " is NULL");
  if (length > std::numeric_limits<std::int16_t>::max()) {
    return misuse(function, std::string(field) + " is longer than any name");
  }
  auto wide = win32::wideFromUtf8({utf8, length}, win32::MalformedUtf8::Refused);
  if (!wide) return misuse(function, std::string(field) + " is not UTF-8");
  // The system would take the name to end there.
  if (wide->find(L'\0') != std::wstring::npos) {
    return misuse(function, std::string(field) + " has a zero in it");
  }
  name = std::move(*wide);
  return Done{};
}

// In version 1.0 it ended there.
constexpr std::size_t kSizeIn10 = offsetof(orva_endpoint, push_pipe_name);

bool isPublishedSize(std::size_t size) {
  return size == kSizeIn10 || size == sizeof(orva_endpoint);
}

}  // namespace

Result<Endpoint> endpointOf(const char* function, const orva_endpoint* endpoint,
                            Endpoint installed) {
  if (endpoint == nullptr) return installed;
  if (!isPublishedSize(endpoint->size)) {
    return misuse(function, "the size of the endpoint is not set");
  }
  if (endpoint->trust_any_server != 0 && endpoint->trust_any_server != ORVA_TRUST_ANY_SERVER) {
    return misuse(function, "trust_any_server is neither 0 nor ORVA_TRUST_ANY_SERVER");
  }
  auto replaced = replace(installed.pipeName, endpoint->pipe_name, endpoint->pipe_name_length,
                          function, "pipe_name");
  if (!replaced) return replaced.error();
  replaced = replace(installed.serviceName, endpoint->service_name, endpoint->service_name_length,
                     function, "service_name");
  if (!replaced) return replaced.error();
  installed.verifyServer = endpoint->trust_any_server == 0;
  installed.startService = endpoint->start_service != 0;
  return installed;
}

Result<Endpoint> pushEndpointOf(const char* function, const orva_endpoint* endpoint) {
  // What it says of the service holds for both pipes.
  auto both = endpointOf(function, endpoint, PushChannel::defaultEndpoint());
  if (!both) return both;
  both.value().pipeName = PushChannel::defaultEndpoint().pipeName;
  if (endpoint == nullptr || endpoint->size == kSizeIn10) return both;
  auto replaced = replace(both.value().pipeName, endpoint->push_pipe_name,
                          endpoint->push_pipe_name_length, function, "push_pipe_name");
  if (!replaced) return replaced.error();
  return both;
}

HANDLE cancelOf(const orva_endpoint* endpoint) noexcept {
  const bool given = endpoint != nullptr && endpoint->cancel != nullptr;
  return given ? endpoint->cancel->event.get() : nullptr;
}

std::chrono::milliseconds timeoutOf(std::uint32_t milliseconds) noexcept {
  return std::chrono::milliseconds(std::min(milliseconds, kLongestTimeoutMs));
}

}  // namespace orva_accelerator::client
