#include "tests/fuzz/guarded_bytes.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>

namespace orva_accelerator::fuzz {

GuardedBytes::GuardedBytes(std::size_t longest, std::size_t margin) : longest_(longest) {
  constexpr std::size_t kPage = 4096;
  const std::size_t size = (longest + margin + kPage - 1) / kPage * kPage;
  auto* const base =
      static_cast<std::uint8_t*>(VirtualAlloc(nullptr, size + kPage, MEM_RESERVE, PAGE_NOACCESS));
  if (base == nullptr || VirtualAlloc(base, size, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
    std::abort();
  }
  end_ = base + size - margin;
}

std::span<const std::uint8_t> GuardedBytes::hold(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > longest_) std::abort();
  std::uint8_t* const first = end_ - bytes.size();
  std::copy(bytes.begin(), bytes.end(), first);
  return {first, bytes.size()};
}

}  // namespace orva_accelerator::fuzz
