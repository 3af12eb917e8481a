// Connections, as the C interface hands them out.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <utility>

#include "client/include/orva_client.h"
#include "client/push_channel.h"
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

struct orva_push {
  orva_push(orva_accelerator::client::PushChannel opened, HANDLE interrupt_event)
      : channel(std::move(opened)), interrupt(interrupt_event) {}

  // Listens through the connection. An exception may have lost a message; the channel is kept all
  // the same, because somebody may be waiting for its event.
  template <typename Question>
  auto listen(Question question)
      -> decltype(question(std::declval<orva_accelerator::client::PushChannel&>())) {
    using orva_accelerator::client::Error;
    using orva_accelerator::client::ErrorKind;
    if (broken) {
      return Error{ErrorKind::Usage, "read a notification", 0,
                   "the connection has been closed after an earlier error"};
    }
    try {
      return question(channel);
    } catch (...) {
      broken = true;
      throw;
    }
  }

  orva_accelerator::client::PushChannel channel;
  HANDLE interrupt;  // Borrowed; may be null.
  bool broken = false;
};
