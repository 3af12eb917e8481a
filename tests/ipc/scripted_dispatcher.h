// What stands in for the request handlers in the tests of the pipe server: this executable defines
// DispatchRequest itself, so the handlers' own is not linked.
#pragma once

#include <cstdint>
#include <functional>

#include "ipc/message_handler.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::test {

// Called on connection threads, for several connections at once.
using Dispatcher = std::function<void(const ipc::MessageHeader& header, const void* payload,
                                      void*& response, std::uint32_t& responseLength)>;

// What requests to this server are given to from now on. Until it is called: echo.
void setDispatcher(const ipc::PipeServer& server, Dispatcher dispatcher);

// Answers with the request's type, its client id and its payload; kUnansweredType with nothing.
void echo(const ipc::MessageHeader& header, const void* payload, void*& response,
          std::uint32_t& responseLength);

// A response as handlers make them.
void respond(const Bytes& bytes, void*& response, std::uint32_t& responseLength);

}  // namespace orva_accelerator::test
