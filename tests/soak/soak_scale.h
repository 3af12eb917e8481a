// How much a run does: as much as an ordinary test run has time for, or all of it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_accelerator::test {

// True when the environment has ORVA_SOAK=long.
bool isLongRun();

// One of the two.
std::size_t amount(std::size_t ordinary, std::size_t longRun);

// Of everything that a run chooses at random: ORVA_SOAK_SEED, or 1. The same seed chooses the same;
// the moments at which threads get the processor are nobody's to choose.
std::uint64_t soakSeed();

}  // namespace orva_accelerator::test
