#include "tests/fuzz/mutator.h"

#include <algorithm>
#include <cstring>

#include "tests/fuzz/coverage.h"

namespace orva_accelerator::fuzz {
namespace {

std::span<const std::uint8_t> bytesOf(const void* data, std::size_t size) {
  return {static_cast<const std::uint8_t*>(data), size};
}

}  // namespace

void Mutator::mutate(Bytes& input, const Bytes& other, std::size_t longest) {
  for (std::size_t changes = 1 + below(8); changes > 0; --changes) {
    changeOnce(input, other, longest);
  }
}

void Mutator::changeOnce(Bytes& input, const Bytes& other, std::size_t longest) {
  const std::uint64_t word = random_();
  if (input.empty()) return insert(input, bytesOf(&word, 1 + below(8)), longest);
  const std::size_t at = below(input.size());
  switch (below(9)) {
    case 0:
      input[at] = static_cast<std::uint8_t>(input[at] ^ (1U << below(8)));
      return;
    case 1:
      input[at] = static_cast<std::uint8_t>(word);
      return;
    case 2:
      input[at] = static_cast<std::uint8_t>(input[at] + below(33) - 16);
      return;
    case 3:
      input.resize(below(8) == 0 ? at : std::max(at, input.size() - 1));
      return;
    case 4:
      return insert(input, bytesOf(&word, 1 + below(8)), longest);
    case 5: {
      if (other.empty()) return;
      const std::size_t from = below(other.size());
      const std::size_t size = 1 + below(std::min<std::size_t>(64, other.size() - from));
      return insert(input, std::span(other).subspan(from, size), longest);
    }
    case 6:
      return useDictionary(input, longest);
    default:
      return useComparedValue(input);
  }
}

void Mutator::overwrite(Bytes& input, std::span<const std::uint8_t> bytes) {
  if (input.empty()) return;
  const std::size_t at = below(input.size());
  std::copy_n(bytes.begin(), std::min(bytes.size(), input.size() - at),
              input.begin() + static_cast<std::ptrdiff_t>(at));
}

void Mutator::insert(Bytes& input, std::span<const std::uint8_t> bytes, std::size_t longest) {
  if (input.size() >= longest) return;
  const std::size_t at = below(input.size() + 1);
  const std::size_t size = std::min(bytes.size(), longest - input.size());
  input.insert(input.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin(),
               bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

void Mutator::useDictionary(Bytes& input, std::size_t longest) {
  if (dictionary_.empty()) return;
  const std::string& word = dictionary_[below(dictionary_.size())];
  const auto bytes = bytesOf(word.data(), word.size());
  below(2) == 0 ? overwrite(input, bytes) : insert(input, bytes, longest);
}

// Where the input holds one side of a comparison, the other side is put in its place.
void Mutator::useComparedValue(Bytes& input) {
  const std::vector<std::uint64_t>& values = comparedValues();
  const std::size_t pair = below(values.size() / 2) * 2;
  const std::size_t side = below(2);
  const std::uint64_t wanted = values[pair + side] + below(3) - 1;
  const std::uint64_t present = values[pair + 1 - side];
  const std::size_t width = std::size_t{1} << below(4);
  for (std::size_t at = 0; at + width <= input.size(); ++at) {
    if (std::memcmp(input.data() + at, &present, width) != 0 || below(3) == 0) continue;
    std::memcpy(input.data() + at, &wanted, width);
    return;
  }
  overwrite(input, bytesOf(&wanted, width));
}

}  // namespace orva_accelerator::fuzz
