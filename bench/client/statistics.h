// What becomes of many samples.
#pragma once

#include <vector>

namespace orva_accelerator::bench {

// The value below which the given share (0 to 1) of the samples lies; 0 without samples.
double percentile(std::vector<double> samples, double share);
double median(std::vector<double> samples);

struct Spread {
  double median = 0;
  double min = 0;
  double max = 0;
  int count = 0;
};

Spread spreadOf(const std::vector<double>& samples);

}  // namespace orva_accelerator::bench
