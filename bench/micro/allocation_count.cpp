#include "bench/micro/allocation_count.h"

#include <cstdlib>
#include <new>

namespace orva_accelerator::bench {

namespace {

// Measurements allocate on one thread alone; a thread-local would cost more than it counts here.
Allocations allocations;

void* allocate(std::size_t size) {
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  ++allocations.blocks;
  allocations.bytes += size;
  return block;
}

}  // namespace

Allocations allocationsSoFar() {
  return allocations;
}

}  // namespace orva_accelerator::bench

void* operator new(std::size_t size) {
  return orva_accelerator::bench::allocate(size);
}
void* operator new[](std::size_t size) {
  return orva_accelerator::bench::allocate(size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  std::free(block);
}
