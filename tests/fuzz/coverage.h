// What the compiler's instrumentation of the code under test reports while an input runs.
//
// The code under test, and only that, is compiled with -fsanitize-coverage=trace-pc,trace-cmp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orva_accelerator::fuzz {

// An edge is a step from one instrumented place to the next. One thread at a time is watched, the
// one that called beginRun.
void beginRun();
// Takes over what the run has reached; true if that includes an edge, or a number of passes over an
// edge, that no run before had.
bool endRun();
std::size_t edgesReached();

// Values that the code compared its input with lately, four or eight bytes wide: the best guesses
// at what it wants to see.
const std::vector<std::uint64_t>& comparedValues();

}  // namespace orva_accelerator::fuzz
