// One thing that is fuzzed. Each target is a program: it defines these, and main is the loop's.
//
// A run must not depend on the runs before it, or nobody can repeat what it did.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orva_accelerator::fuzz {

inline constexpr std::size_t kLongestInput = 4096;

// As in the name of its program; the loop's.
const char* targetName();
// Well-formed inputs to begin with.
std::vector<std::vector<std::uint8_t>> targetSeeds();
// Called once, before everything else.
void prepareTarget();
// Anything that must not happen ends the process: an access violation, std::abort, an exception.
void runTarget(std::span<const std::uint8_t> input);

}  // namespace orva_accelerator::fuzz
