#include "tests/fuzz/planted_bug.h"

#include <cstring>

namespace orva_accelerator::fuzz {
namespace {

constexpr std::uint32_t kMagic = 0x474E4F52;

}  // namespace

std::uint32_t sumOfPlantedMessage(std::span<const std::uint8_t> message) {
  std::uint32_t magic = 0;
  std::uint16_t length = 0;
  if (message.size() < sizeof magic + sizeof length) return 0;
  std::memcpy(&magic, message.data(), sizeof magic);
  if (magic != kMagic) return 0;
  std::memcpy(&length, message.data() + sizeof magic, sizeof length);
  std::uint32_t sum = 0;
  const volatile std::uint8_t* const bytes = message.data() + sizeof magic + sizeof length;
  for (std::uint32_t i = 0; i < length; ++i) sum += bytes[i];
  return sum;
}

}  // namespace orva_accelerator::fuzz
