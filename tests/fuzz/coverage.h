// What the compiler's instrumentation of the code under test reports while an input runs.
//
// The code under test, and only that, is compiled with -fsanitize-coverage=trace-pc,trace-cmp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orva_accelerator::fuzz {

// An edge is a step from one instrumented place to the next. One thread at a time is watched, the
// one that called beginRun.
void beginRun();
// Takes over what the run has reached; true if that includes an edge, or a number of passes over an
// edge, that no run before had.
bool endRun();
// All edges that any run has reached.
std::size_t edgesReached();
// Those that the last one has, in no order; valid until the next one begins.
std::span<const std::uint32_t> edgesOfLastRun();

// Values that the code compared its input with lately, four or eight bytes wide: the best guesses
// at what it wants to see.
const std::vector<std::uint64_t>& comparedValues();

}  // namespace orva_accelerator::fuzz
