// Global operators new and delete that a program counts or fails. Included by one file of a
// program, which then defines allocateBlock.
#pragma once

#include <cstdlib>
#include <new>

namespace orva_accelerator::test {

// Called by every thread for every block. The block is released by std::free; without memory it
// throws std::bad_alloc. It must not use the operators itself.
void* allocateBlock(std::size_t size, bool isArray);

// What it hands out in the end. Never null.
inline void* allocateFromRuntime(std::size_t size) {
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace orva_accelerator::test

void* operator new(std::size_t size) {
  return orva_accelerator::test::allocateBlock(size, false);
}
void* operator new[](std::size_t size) {
  return orva_accelerator::test::allocateBlock(size, true);
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
