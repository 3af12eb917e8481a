// Runs one input, and writes it down if the process ends over it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace orva_accelerator::fuzz {

// Exit codes of a process that an input has ended, and of one that an input has kept for a minute.
inline constexpr unsigned kCrashed = 77;
inline constexpr unsigned kHung = 78;

// From here on, an input that ends the process in any other way than it should is written to the
// file first. False when the path is too long.
[[nodiscard]] bool watchRuns(const std::string& crashFile);

// Runs it as far as the longest input goes. True if it reached what no run before had.
bool runInput(std::span<const std::uint8_t> input);
std::uint64_t runCount();

}  // namespace orva_accelerator::fuzz
