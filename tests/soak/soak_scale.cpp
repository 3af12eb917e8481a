#include "tests/soak/soak_scale.h"

#include <cstdlib>
#include <string_view>

namespace orva_accelerator::test {

bool isLongRun() {
  const char* const scale = std::getenv("ORVA_SOAK");
  return scale != nullptr && std::string_view(scale) == "long";
}

std::size_t amount(std::size_t ordinary, std::size_t longRun) {
  return isLongRun() ? longRun : ordinary;
}

std::uint64_t soakSeed() {
  const char* const seed = std::getenv("ORVA_SOAK_SEED");
  return seed == nullptr ? 1 : std::strtoull(seed, nullptr, 10);
}

}  // namespace orva_accelerator::test
