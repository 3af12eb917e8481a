// One request given to the dispatcher as a connection gives it, without the pipe.
#pragma once

#include <cstdint>
#include <span>

#include "tests/support/golden_vectors.h"

namespace orva_accelerator::test {

// The payload of the answer. Behind the request's payload the handlers find just the readable
// bytes that a connection promises them, each of them `margin`; then memory ends, on every heap.
Bytes answerTo(std::uint32_t type, std::span<const std::uint8_t> payload = {},
               std::uint8_t margin = 0);

// For a request of golden vectors.
Bytes answerTo(const GoldenVector& request);

}  // namespace orva_accelerator::test
