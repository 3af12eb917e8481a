#include "tests/fuzz/corpus.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <set>
#include <stdexcept>

#include "tests/fuzz/coverage.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/run_input.h"

namespace orva_accelerator::fuzz {
namespace {

using Edges = std::vector<std::uint32_t>;

std::string hashOf(std::span<const std::uint8_t> input) {
  std::uint64_t hash = 0xCBF29CE484222325ULL;
  for (const std::uint8_t byte : input) hash = (hash ^ byte) * 0x100000001B3ULL;
  char text[17];
  (void)std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return text;
}

// In ascending order.
Edges edgesOf(std::span<const std::uint8_t> input) {
  (void)runInput(input);  // What is new is of no interest.
  const auto edges = edgesOfLastRun();
  Edges sorted(edges.begin(), edges.end());
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

bool passes(std::span<const std::uint8_t> input, const Edges& needed) {
  const Edges edges = edgesOf(input);
  return std::includes(edges.begin(), edges.end(), needed.begin(), needed.end());
}

Bytes without(const Bytes& input, std::size_t at, std::size_t size) {
  Bytes shorter(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(at));
  const std::size_t rest = std::min(input.size(), at + size);
  shorter.insert(shorter.end(), input.begin() + static_cast<std::ptrdiff_t>(rest), input.end());
  return shorter;
}

Bytes cutDown(Bytes input, const Edges& needed) {
  for (std::size_t size = input.size() / 2; size > 0; size /= 2) {
    for (std::size_t at = 0; at < input.size();) {
      Bytes shorter = without(input, at, size);
      if (passes(shorter, needed)) {
        input = std::move(shorter);
      } else {
        at += size;
      }
    }
  }
  return input;
}

}  // namespace

Bytes readInput(const std::string& path) {
  Bytes bytes;
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) throw std::runtime_error("cannot read " + path);
  bytes.resize(kLongestInput);
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  (void)std::fclose(file);  // Only read.
  return bytes;
}

std::vector<Bytes> readInputs(const std::string& folder) {
  std::error_code failed;
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder, failed)) {
    paths.push_back(entry.path().string());
  }
  if (failed) throw std::runtime_error("cannot read " + folder);
  std::sort(paths.begin(), paths.end());
  std::vector<Bytes> inputs;
  std::transform(paths.begin(), paths.end(), std::back_inserter(inputs), readInput);
  return inputs;
}

bool writeInput(const std::string& folder, std::span<const std::uint8_t> input) {
  const std::string path = folder + "\\" + hashOf(input);
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(input.data(), 1, input.size(), file) == input.size();
  return std::fclose(file) == 0 && written;
}

void Corpus::consider(std::span<const std::uint8_t> input) {
  if (!runInput(input)) return;
  inputs_.emplace_back(input.begin(), input.end());
  // Lost inputs are found again.
  if (!folder_.empty()) (void)writeInput(folder_, input);
}

void Corpus::runNext(Mutator& mutator) {
  static const Bytes nothing;
  const auto any = [&]() -> const Bytes& {
    return inputs_.empty() ? nothing : inputs_[mutator.below(inputs_.size())];
  };
  next_.reserve(kLongestInput);  // Whatever it becomes, it stays where it is.
  next_ = any();
  mutator.mutate(next_, any(), kLongestInput);
  consider(next_);
}

std::vector<Bytes> minimised(std::vector<Bytes> inputs) {
  std::sort(inputs.begin(), inputs.end(), [](const Bytes& left, const Bytes& right) {
    return left.size() != right.size() ? left.size() < right.size() : left < right;
  });
  std::set<std::uint32_t> passed;
  std::vector<Bytes> kept;
  for (const Bytes& input : inputs) {
    Edges needed;
    for (const std::uint32_t edge : edgesOf(input)) {
      if (passed.insert(edge).second) needed.push_back(edge);
    }
    if (!needed.empty()) kept.push_back(cutDown(input, needed));
  }
  return kept;
}

}  // namespace orva_accelerator::fuzz
