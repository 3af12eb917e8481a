// One request given to the dispatcher as a connection gives it, without the pipe.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "ipc/pipe_server.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::test {

struct Answer {
  bool isNull = false;  // The handler left no response at all.
  Bytes bytes;
};

// Behind the request's payload the handlers find just the readable bytes that a connection promises
// them, each of them `margin`; then memory ends, on every heap. The header announces `announced`
// bytes, or as many as the payload has. On the guarded heap, fails the test when the response is
// allocated longer than it is answered.
Answer dispatch(ipc::PipeServer& server, std::uint32_t type, std::uint32_t clientId,
                std::span<const std::uint8_t> payload = {}, std::uint8_t margin = 0,
                std::optional<std::uint32_t> announced = std::nullopt);

// The payload of the answer of a server that nothing has happened to, to client 7.
Bytes answerTo(std::uint32_t type, std::span<const std::uint8_t> payload = {},
               std::uint8_t margin = 0);

// For a request of golden vectors.
Bytes answerTo(const GoldenVector& request);

}  // namespace orva_accelerator::test
