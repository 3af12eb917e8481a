// What the client library makes of the bytes that a service sends. The first byte of an input
// chooses: one of the decoders of responses, or the push pipe's messages.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "client/notification_assembler.h"
#include "client/responses.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/golden_vectors.h"

namespace orva_accelerator::fuzz {
namespace {

using Input = std::span<const std::uint8_t>;
using Decoder = void(Input);

// Any outcome will do that touches nothing beyond the payload.
template <typename Record>
void decode(Input payload) {
  (void)client::decodeAnswer<Record>(payload);
}

constexpr Decoder* kDecoders[] = {
    decode<orva_owner>,        decode<orva_leave_outcome>,   decode<orva_accel_data>,
    decode<orva_console_data>, decode<orva_last_accel_info>, decode<orva_speed_summary>,
    decode<orva_game_info>,    decode<orva_used_nodes>,
};
constexpr std::size_t kDecoderCount = std::size(kDecoders);

// Messages, each with its length in two bytes ahead of it.
void assemble(Input input) {
  client::NotificationAssembler assembler;
  while (input.size() >= 2) {
    const std::size_t announced = input[0] | (std::size_t{input[1]} << 8);
    input = input.subspan(2);
    const std::size_t length = std::min(announced, input.size());
    // A block of its own, which ends where the message does.
    const client::Bytes message(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(length));
    (void)assembler.take(message);
    if (assembler.waiting() > client::NotificationAssembler::kMostWaiting) std::abort();
    input = input.subspan(length);
  }
}

void appendMessage(std::vector<std::uint8_t>& seed, Input message) {
  seed.push_back(static_cast<std::uint8_t>(message.size()));
  seed.push_back(static_cast<std::uint8_t>(message.size() >> 8));
  seed.insert(seed.end(), message.begin(), message.end());
}

}  // namespace

std::vector<std::vector<std::uint8_t>> targetSeeds() {
  std::vector<std::vector<std::uint8_t>> seeds;
  for (const auto& vector : test::goldenVectors("responses.json")) {
    if (vector.bytes.size() >= kLongestInput) continue;
    for (std::size_t decoder = 0; decoder < kDecoderCount; ++decoder) {
      auto& seed = seeds.emplace_back(1, static_cast<std::uint8_t>(decoder));
      seed.insert(seed.end(), vector.payload().begin(), vector.payload().end());
    }
  }
  for (const auto& vector : test::goldenVectors("notifications.json")) {
    if (vector.bytes.size() >= kLongestInput - 8) continue;
    auto& seed = seeds.emplace_back(1, static_cast<std::uint8_t>(kDecoderCount));
    appendMessage(seed, vector.header());
    appendMessage(seed, vector.payload());
  }
  return seeds;
}

void prepareTarget() {}

void runTarget(Input input) {
  if (input.empty()) return;
  const std::size_t choice = input[0] % (kDecoderCount + 4);
  const Input rest = input.subspan(1);
  choice < kDecoderCount ? kDecoders[choice](rest) : assemble(rest);
}

}  // namespace orva_accelerator::fuzz
