#include "tools/trend.h"

#include <algorithm>
#include <cmath>

namespace orva_accelerator::tools {
namespace {

constexpr const char* kLevels[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::size_t kTop = 7;

}  // namespace

void Trend::add(std::uint64_t value) {
  values_.push_back(value);
  if (values_.size() > kKept) values_.pop_front();
}

bool Trend::moves() const {
  return std::ranges::any_of(values_,
                             [this](std::uint64_t value) { return value != values_.front(); });
}

std::string Trend::line() const {
  if (!moves()) return {};
  const auto [lowest, highest] = std::ranges::minmax_element(values_);
  // In floating point: the figures use all 64 bits, so that a multiplication could wrap.
  const auto range = static_cast<double>(*highest - *lowest);
  std::string line;
  for (const std::uint64_t value : values_) {
    const double share = static_cast<double>(value - *lowest) / range;
    line += kLevels[std::lround(share * static_cast<double>(kTop))];
  }
  return line;
}

}  // namespace orva_accelerator::tools
