#include "tools/latency_histogram.h"

#include <gtest/gtest.h>

namespace orva_accelerator::test {
namespace {

using tools::LatencyHistogram;

TEST(LatencyHistogram, IsZeroWhenEmpty) {
  const LatencyHistogram empty;
  EXPECT_EQ(empty.count(), 0u);
  EXPECT_EQ(empty.percentile(50), 0u);
  EXPECT_EQ(empty.max(), 0u);
}

TEST(LatencyHistogram, IsExactForSmallValues) {
  LatencyHistogram latencies;
  for (std::uint64_t value = 1; value <= 100; ++value) latencies.add(value);
  EXPECT_EQ(latencies.count(), 100u);
  EXPECT_EQ(latencies.percentile(50), 50u);
  EXPECT_EQ(latencies.percentile(90), 90u);
  EXPECT_EQ(latencies.percentile(99), 99u);
  EXPECT_EQ(latencies.percentile(100), 100u);
  EXPECT_EQ(latencies.percentile(0), 1u);
}

TEST(LatencyHistogram, IsOffByASixtyFourthAtMost) {
  for (std::uint64_t value = 127; value < (std::uint64_t{1} << 39); value = value * 5 / 3 + 1) {
    LatencyHistogram latencies;
    latencies.add(value);
    latencies.add(std::uint64_t{1} << 39);  // So that the largest does not correct the first.
    const std::uint64_t median = latencies.percentile(50);
    EXPECT_GE(median, value);
    EXPECT_LE(median, value + value / 64);
  }
}

TEST(LatencyHistogram, KeepsTheLargestAsItIs) {
  LatencyHistogram latencies;
  latencies.add(1'000'001);
  EXPECT_EQ(latencies.max(), 1'000'001u);
  EXPECT_EQ(latencies.percentile(99), 1'000'001u);
  latencies.add(~std::uint64_t{0});
  EXPECT_EQ(latencies.max(), ~std::uint64_t{0});
  EXPECT_EQ(latencies.count(), 2u);
}

TEST(LatencyHistogram, GivesTheLargestForMoreThanAll) {
  LatencyHistogram latencies;
  latencies.add(5);
  EXPECT_EQ(latencies.percentile(101), 5u);
}

TEST(LatencyHistogram, AddsUp) {
  LatencyHistogram one;
  LatencyHistogram other;
  one.add(10);
  other.add(20);
  other.add(30);
  one.add(other);
  EXPECT_EQ(one.count(), 3u);
  EXPECT_EQ(one.percentile(50), 20u);
  EXPECT_EQ(one.max(), 30u);
}

}  // namespace
}  // namespace orva_accelerator::test
