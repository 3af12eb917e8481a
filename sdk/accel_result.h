// The outcome of a start, or a step on the way to it, as the service keeps it.
#pragma once

#include <cstdint>
#include <string>

namespace orva_accelerator::sdk {

// Handed to result callbacks by const reference, on a thread of the library's choosing. Everything
// but `state` is passed on to clients as the library gave it.
struct SAccelResult {
  std::uint32_t value1 = 0;
  std::uint32_t value2 = 0;
  std::wstring text1;  // Empty when the library gave none.
  std::uint32_t value3 = 0;
  std::uint32_t value4 = 0;
  std::uint32_t state = 0;  // See AccelState.
  std::uint32_t value5 = 0;
  std::wstring text2;  // Empty when the library gave none.
};

// The values of SAccelResult::state that settle who owns the acceleration. All others report
// progress and change nothing.
enum AccelState : std::uint32_t {
  AccelStateAccelerating = 4,
  AccelStateFirstEnded = 5,
  AccelStateLastEnded = 7,
};

}  // namespace orva_accelerator::sdk
