// The recent course of a figure, drawn in one line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace orva_accelerator::tools {

class Trend {
 public:
  static constexpr std::size_t kKept = 30;

  void add(std::uint64_t value);

  // Whether the kept values differ at all.
  bool moves() const;

  // One block character a value, the lowest kept value at the bottom and the highest at the top;
  // empty while nothing moves.
  std::string line() const;

 private:
  std::deque<std::uint64_t> values_;
};

}  // namespace orva_accelerator::tools
