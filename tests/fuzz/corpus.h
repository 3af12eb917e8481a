// Inputs that are worth to be changed, because each reaches something that the others do not.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tests/fuzz/mutator.h"

namespace orva_accelerator::fuzz {

// The content of a file, as far as the longest input goes. Throws std::runtime_error when it cannot
// be read.
Bytes readInput(const std::string& path);
// Of every file of a folder, in the order of their names. Throws like the one above.
std::vector<Bytes> readInputs(const std::string& folder);
// Writes the input under the name of its hash. False when that fails.
bool writeInput(const std::string& folder, std::span<const std::uint8_t> input);

class Corpus {
 public:
  // Inputs that reach something new are written to the folder, unless it is empty.
  explicit Corpus(std::string folder) : folder_(std::move(folder)) {}

  // Runs the input, and keeps it if it reaches something new.
  void consider(std::span<const std::uint8_t> input);
  // Changes one of the inputs and considers what comes of it.
  void runNext(Mutator& mutator);

  std::size_t size() const { return inputs_.size(); }

 private:
  std::string folder_;
  std::vector<Bytes> inputs_;
  Bytes next_;
};

// The shortest of these inputs that together pass every edge that all of them pass, each cut down
// to what it takes to pass the edges that it is needed for.
std::vector<Bytes> minimised(std::vector<Bytes> inputs);

}  // namespace orva_accelerator::fuzz
