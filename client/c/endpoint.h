// Where the C interface's callers want to connect to, and what ends their waits.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>

#include "client/include/orva_client.h"
#include "client/push_channel.h"
#include "client/result.h"
#include "win32/unique_handle.h"

struct orva_cancel {
  orva_accelerator::win32::UniqueKernelHandle event;  // Manual reset.
};

namespace orva_accelerator::client {

// What ends the waits of whoever was given this endpoint; null if nothing does.
HANDLE cancelOf(const orva_endpoint* endpoint) noexcept;

// `installed` with what `endpoint`, which may be null, says otherwise. A name that is not UTF-8 is
// a usage error. Of an endpoint that a program made with an older header no more is read than that
// had.
Result<Endpoint> endpointOf(const char* function, const orva_endpoint* endpoint,
                            Endpoint installed);
// The one for notifications, of an endpoint that is for both pipes.
Result<Endpoint> pushEndpointOf(const char* function, const orva_endpoint* endpoint);

// A timeout of the C interface; the longest one is what a wait of the system can last.
std::chrono::milliseconds timeoutOf(std::uint32_t milliseconds) noexcept;

}  // namespace orva_accelerator::client
