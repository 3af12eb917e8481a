// Included by every file that mistakes are planted in, see fold.py. Which of them is made, and
// which were come by, stands in a file of the Windows installation: a service inherits no
// variables.
#pragma once
#pragma GCC system_header

#include <cstdint>
#include <mutex>
#include <type_traits>

extern "C" {
extern const volatile std::uint32_t* orvaPlantedNumber;
extern volatile unsigned char* orvaPlantedReached;
}

inline bool orvaPlanted(std::uint32_t number) noexcept {
  orvaPlantedReached[number] = 1;
  return *orvaPlantedNumber == number;
}

// For what the compiler may have to evaluate: then there is no mistake.
constexpr bool orvaEarlyPlanted(std::uint32_t number) noexcept {
  return std::is_constant_evaluated() ? false : orvaPlanted(number);
}
