// A connection for requests, as the C interface hands it out.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "client/include/orva_client.h"
#include "client/result.h"
#include "client/service_client.h"

struct orva_client {
  explicit orva_client(orva_accelerator::client::ServiceClient client)
      : id(client.clientId()), service(std::move(client)) {}

  // Asks through the connection. An exception, which only a want of memory causes, may leave an
  // answer in the pipe that would be taken for that to the next request, so it closes the
  // connection.
  template <typename Question>
  auto ask(Question question)
      -> decltype(question(std::declval<orva_accelerator::client::ServiceClient&>())) {
    using orva_accelerator::client::Error;
    using orva_accelerator::client::ErrorKind;
    if (!service) {
      return Error{ErrorKind::Usage, "send a request", 0,
                   "the connection has been closed after an earlier error"};
    }
    try {
      return question(*service);
    } catch (...) {
      service.reset();
      throw;
    }
  }

  std::uint32_t id;
  std::optional<orva_accelerator::client::ServiceClient> service;
};
