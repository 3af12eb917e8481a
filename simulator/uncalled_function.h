// What the functions do that nobody calls.
#pragma once

namespace orva_accelerator::simulator {

// Logs the call and returns 0 in the whole return register, whatever type the caller expects.
unsigned long long uncalled(const char* function) noexcept;

}  // namespace orva_accelerator::simulator
