#include "bench/client/statistics.h"

#include <algorithm>
#include <cstddef>

namespace orva_accelerator::bench {

double percentile(std::vector<double> samples, double share) {
  if (samples.empty()) return 0;
  std::ranges::sort(samples);
  const auto last = samples.size() - 1;
  return samples[std::min(last, static_cast<std::size_t>(share * static_cast<double>(last) + 0.5))];
}

double median(std::vector<double> samples) {
  return percentile(std::move(samples), 0.5);
}

Spread spreadOf(const std::vector<double>& samples) {
  if (samples.empty()) return {};
  const auto [min, max] = std::ranges::minmax(samples);
  return {median(samples), min, max, static_cast<int>(samples.size())};
}

}  // namespace orva_accelerator::bench
