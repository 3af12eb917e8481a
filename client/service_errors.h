// What the service control manager's refusals mean for somebody who uses the service.
#pragma once

#include <cstdint>

#include "client/error.h"

namespace orva_accelerator::client {

// The error of a manager's call that failed with `code`: NotInstalled when nothing is registered
// under the name, Timeout when the manager gave up waiting, Refused when it forbids what was asked,
// and System for everything else. The text says what to do where something can be done.
Error serviceError(const char* step, std::uint32_t code);

}  // namespace orva_accelerator::client
