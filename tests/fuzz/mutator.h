// Makes new inputs of old ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string_view>
#include <vector>

namespace orva_accelerator::fuzz {

using Bytes = std::vector<std::uint8_t>;

// Everything that the targets' formats know by heart: magics, message types, separators, numbers at
// the edges of their ranges, and UTF-8 that is none.
std::span<const std::string_view> dictionary();

class Mutator {
 public:
  // The same seed makes the same inputs of the same coverage.
  explicit Mutator(std::uint64_t seed) : random_(seed) {}

  // One to eight changes; never longer than `longest`. `other` lends some of its bytes.
  void mutate(Bytes& input, const Bytes& other, std::size_t longest);
  std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

 private:
  void changeOnce(Bytes& input, const Bytes& other, std::size_t longest);
  void overwrite(Bytes& input, std::span<const std::uint8_t> bytes);
  void insert(Bytes& input, std::span<const std::uint8_t> bytes, std::size_t longest);
  void useComparedValue(Bytes& input);
  void useDictionary(Bytes& input, std::size_t longest);

  std::mt19937_64 random_;
};

}  // namespace orva_accelerator::fuzz
