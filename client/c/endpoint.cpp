#include "client/c/endpoint.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "client/c/boundary.h"

namespace orva_accelerator::client {
namespace {

constexpr std::uint32_t kLongestTimeoutMs = 0x7FFFFFFF;

Result<Done> Replace(std::wstring& name, const char* utf8, std::size_t length, const char* function,
                     const char* field) {
  if (length == 0) return Done{};
  if (utf8 == nullptr) return Misuse(function, std::string(field) + " is NULL");
  if (length > std::numeric_limits<std::int16_t>::max()) {
    return Misuse(function, std::string(field) + " is longer than any name");
  }
  const int bytes = static_cast<int>(length);
  std::wstring wide(length, L'\0');  // UTF-16 never has more units than UTF-8 has bytes.
  const int units =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, bytes, wide.data(), bytes);
  if (units <= 0) return Misuse(function, std::string(field) + " is not UTF-8");
  wide.resize(static_cast<std::size_t>(units));
  // The system would take the name to end there.
  if (wide.find(L'\0') != std::wstring::npos) {
    return Misuse(function, std::string(field) + " has a zero in it");
  }
  name = std::move(wide);
  return Done{};
}

}  // namespace

Result<Endpoint> EndpointOf(const char* function, const orva_endpoint* endpoint,
                            Endpoint installed) {
  if (endpoint == nullptr) return installed;
  auto replaced = Replace(installed.pipeName, endpoint->pipe_name, endpoint->pipe_name_length,
                          function, "pipe_name");
  if (!replaced) return replaced.error();
  replaced = Replace(installed.serviceName, endpoint->service_name, endpoint->service_name_length,
                     function, "service_name");
  if (!replaced) return replaced.error();
  installed.verifyServer = endpoint->trust_any_server == 0;
  return installed;
}

std::chrono::milliseconds TimeoutOf(std::uint32_t milliseconds) noexcept {
  return std::chrono::milliseconds(std::min(milliseconds, kLongestTimeoutMs));
}

}  // namespace orva_accelerator::client
