// Counts what this program asks of the heap through operator new; on one thread at a time.
#pragma once

#include <cstddef>

namespace orva_accelerator::bench {

struct Allocations {
  std::size_t blocks = 0;
  std::size_t bytes = 0;
};

// Since the program began. Counting costs a nanosecond.
Allocations allocationsSoFar();

}  // namespace orva_accelerator::bench
