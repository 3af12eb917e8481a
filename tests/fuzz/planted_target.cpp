// A bug that is there on purpose, to see that it is found: behind a magic number, a length in the
// input is taken as it stands.

#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/planted_bug.h"

namespace orva_accelerator::fuzz {

std::vector<std::vector<std::uint8_t>> targetSeeds() {
  return {std::vector<std::uint8_t>(8)};
}

void prepareTarget() {}

void runTarget(std::span<const std::uint8_t> input) {
  (void)sumOfPlantedMessage(input);  // The sum is of no use.
}

}  // namespace orva_accelerator::fuzz
