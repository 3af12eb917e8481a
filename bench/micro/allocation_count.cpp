#include "bench/micro/allocation_count.h"

#include "tests/support/replaced_heap.h"

namespace orva_accelerator {
namespace bench {
namespace {

// Measurements allocate on one thread alone; a thread-local would cost more than it counts here.
Allocations allocations;

}  // namespace

Allocations allocationsSoFar() {
  return allocations;
}

}  // namespace bench

void* test::allocateBlock(std::size_t size, bool /*isArray*/) {
  void* const block = allocateFromRuntime(size);
  ++bench::allocations.blocks;
  bench::allocations.bytes += size;
  return block;
}

}  // namespace orva_accelerator
