#include "bench/micro/timing.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace orva_accelerator::bench {

namespace {

using Clock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

// Short, so that most samples are over before anything else gets the processor.
double shortestSampleNs = 3e5;
int sampleCount = 301;

double elapsedNs(const std::function<void()>& code, long calls) {
  const auto start = Clock::now();
  for (long call = 0; call < calls; ++call) code();
  return Nanoseconds(Clock::now() - start).count();
}

}  // namespace

void makeTimingsQuick() {
  shortestSampleNs = 1e5;
  sampleCount = 11;
}

Timing timeOf(const std::function<void()>& code) {
  long calls = 1;
  while (elapsedNs(code, calls) < shortestSampleNs) calls *= 2;
  std::vector<double> samples;
  for (int sample = 0; sample < sampleCount; ++sample) {
    samples.push_back(elapsedNs(code, calls) / static_cast<double>(calls));
  }
  std::ranges::sort(samples);
  const std::size_t tenth = samples.size() / 10;
  return {samples[samples.size() / 2], samples[tenth], samples[samples.size() - 1 - tenth],
          static_cast<int>(samples.size())};
}

}  // namespace orva_accelerator::bench
