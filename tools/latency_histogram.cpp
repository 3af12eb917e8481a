#include "tools/latency_histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace orva_accelerator::tools {

std::size_t LatencyHistogram::bucketOf(std::uint64_t value) {
  if (value < (std::uint64_t{1} << kExactBits)) return static_cast<std::size_t>(value);
  const auto bits = static_cast<unsigned>(std::bit_width(value));
  if (bits > kLargestBits) return kBuckets - 1;
  const unsigned octave = bits - kExactBits;  // 1 for 128 to 255.
  const auto position = static_cast<std::size_t>(value >> octave) - kPerOctave;
  return (std::size_t{1} << kExactBits) + (octave - 1) * kPerOctave + position;
}

std::uint64_t LatencyHistogram::largestOf(std::size_t bucket) {
  constexpr std::size_t kExact = std::size_t{1} << kExactBits;
  if (bucket < kExact) return bucket;
  const std::size_t octave = (bucket - kExact) / kPerOctave + 1;
  const std::size_t position = (bucket - kExact) % kPerOctave + kPerOctave;
  return ((std::uint64_t{position} + 1) << octave) - 1;
}

void LatencyHistogram::add(std::uint64_t microseconds) {
  ++buckets_[bucketOf(microseconds)];
  ++count_;
  max_ = std::max(max_, microseconds);
}

void LatencyHistogram::add(const LatencyHistogram& other) {
  for (std::size_t i = 0; i < kBuckets; ++i) buckets_[i] += other.buckets_[i];
  count_ += other.count_;
  max_ = std::max(max_, other.max_);
}

std::uint64_t LatencyHistogram::percentile(double percent) const {
  if (count_ == 0) return 0;
  const auto wanted = static_cast<std::uint64_t>(
      std::max(1.0, std::ceil(percent / 100.0 * static_cast<double>(count_))));
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i < kBuckets; ++i) {
    seen += buckets_[i];
    if (seen >= wanted) return std::min(largestOf(i), max_);
  }
  return max_;
}

}  // namespace orva_accelerator::tools
