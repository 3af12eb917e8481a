// How long requests took, in a fixed amount of memory.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orva_accelerator::tools {

// Counts in buckets: exact below 128 µs, within 1/64 of the value above. The largest is kept as it
// is.
class LatencyHistogram {
 public:
  void add(std::uint64_t microseconds);
  void add(const LatencyHistogram& other);

  std::uint64_t count() const { return count_; }
  std::uint64_t max() const { return max_; }
  // The latency that `percent` of all did not exceed; 0 without any.
  std::uint64_t percentile(double percent) const;

 private:
  static constexpr unsigned kExactBits = 7;
  static constexpr unsigned kLargestBits = 40;  // Twelve days; longer ones share the last bucket.
  static constexpr std::size_t kPerOctave = std::size_t{1} << (kExactBits - 1);
  static constexpr std::size_t kBuckets =
      (std::size_t{1} << kExactBits) + (kLargestBits - kExactBits) * kPerOctave;

  static std::size_t bucketOf(std::uint64_t value);
  static std::uint64_t largestOf(std::size_t bucket);

  std::array<std::uint64_t, kBuckets> buckets_{};
  std::uint64_t count_ = 0;
  std::uint64_t max_ = 0;
};

}  // namespace orva_accelerator::tools
