// Counts the blocks of memory that are given back with a credential in them. Included by one file
// of a program, whose global operators it replaces with ones that look into blocks.
#pragma once

#include <malloc.h>

#include <cstdlib>
#include <new>
#include <string_view>

namespace orva_accelerator::test {

inline constexpr std::string_view kSecret = "correct horse battery staple";

// Of this thread alone: the service on the other end has read the credential rightly.
inline thread_local bool watchingBlocks = false;
inline thread_local int leftBehind = 0;

inline void* obtainBlock(std::size_t size) {
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

inline void giveBlockBack(void* block) noexcept {
  if (watchingBlocks && block != nullptr) {
    const std::string_view left(static_cast<const char*>(block), _msize(block));
    if (left.find(kSecret) != std::string_view::npos) ++leftBehind;
  }
  std::free(block);
}

// How many blocks `act` gives back with the credential in them.
template <typename Act>
int leaksOf(Act act) {
  leftBehind = 0;
  watchingBlocks = true;
  act();
  watchingBlocks = false;
  return leftBehind;
}

}  // namespace orva_accelerator::test

void* operator new(std::size_t size) {
  return orva_accelerator::test::obtainBlock(size);
}
void* operator new[](std::size_t size) {
  return orva_accelerator::test::obtainBlock(size);
}
void operator delete(void* block) noexcept {
  orva_accelerator::test::giveBlockBack(block);
}
void operator delete[](void* block) noexcept {
  orva_accelerator::test::giveBlockBack(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
  orva_accelerator::test::giveBlockBack(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
  orva_accelerator::test::giveBlockBack(block);
}
