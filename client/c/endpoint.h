// Where the C interface's callers want to connect to.
#pragma once

#include <chrono>
#include <cstdint>

#include "client/include/orva_client.h"
#include "client/pipe_opener.h"
#include "client/result.h"

namespace orva_accelerator::client {

// `installed` with what `endpoint`, which may be null, says otherwise. A name that is not UTF-8 is
// a usage error.
Result<Endpoint> EndpointOf(const char* function, const orva_endpoint* endpoint,
                            Endpoint installed);

// A timeout of the C interface; the longest one is what a wait of the system can last.
std::chrono::milliseconds TimeoutOf(std::uint32_t milliseconds) noexcept;

}  // namespace orva_accelerator::client
