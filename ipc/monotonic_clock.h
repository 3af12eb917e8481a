// The clock behind every time stamp that the service keeps.
#pragma once

#include <cstdint>

namespace orva_accelerator::ipc {

// Milliseconds of the steady clock, truncated. Never goes backwards; its zero means nothing.
std::int64_t monotonicMs();

}  // namespace orva_accelerator::ipc
