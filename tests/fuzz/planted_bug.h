// The code that fuzz_planted runs; instrumented like the code of the service.
#pragma once

#include <cstdint>
#include <span>

namespace orva_accelerator::fuzz {

// A message is a magic number, a length in two bytes, and that many bytes. Reads beyond the end of
// one whose length lies.
std::uint32_t sumOfPlantedMessage(std::span<const std::uint8_t> message);

}  // namespace orva_accelerator::fuzz
