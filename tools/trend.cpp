#include "tools/trend.h"

#include <algorithm>

namespace orva_accelerator::tools {
namespace {

constexpr const char* kLevels[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::size_t kTop = 7;

}  // namespace

void Trend::Add(std::uint64_t value) {
  values_.push_back(value);
  if (values_.size() > kKept) values_.pop_front();
}

bool Trend::moves() const {
  return std::any_of(values_.begin(), values_.end(),
                     [this](std::uint64_t value) { return value != values_.front(); });
}

std::string Trend::Line() const {
  if (!moves()) return {};
  const auto [lowest, highest] = std::minmax_element(values_.begin(), values_.end());
  // In floating point: the figures use all 64 bits, so that a multiplication could wrap.
  const auto range = static_cast<double>(*highest - *lowest);
  std::string line;
  for (const std::uint64_t value : values_) {
    const double share = static_cast<double>(value - *lowest) / range;
    line += kLevels[static_cast<std::size_t>(share * static_cast<double>(kTop) + 0.5)];
  }
  return line;
}

}  // namespace orva_accelerator::tools
