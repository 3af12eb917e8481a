// Makes new inputs of old ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace orva_accelerator::fuzz {

using Bytes = std::vector<std::uint8_t>;

class Mutator {
 public:
  // The same seed makes the same inputs of the same coverage and the same dictionary.
  Mutator(std::uint64_t seed, std::vector<std::string> dictionary)
      : random_(seed), dictionary_(std::move(dictionary)) {}

  // One to eight changes; never longer than `longest`, which `input` may have reserved. `other`
  // lends some of its bytes.
  void mutate(Bytes& input, const Bytes& other, std::size_t longest);
  std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

 private:
  void changeOnce(Bytes& input, const Bytes& other, std::size_t longest);
  void overwrite(Bytes& input, std::span<const std::uint8_t> bytes);
  void insert(Bytes& input, std::span<const std::uint8_t> bytes, std::size_t longest);
  void useComparedValue(Bytes& input);
  void useDictionary(Bytes& input, std::size_t longest);

  std::mt19937_64 random_;
  std::vector<std::string> dictionary_;
};

}  // namespace orva_accelerator::fuzz
