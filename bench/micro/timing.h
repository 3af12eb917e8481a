// How long a piece of code takes that is over in microseconds.
#pragma once

#include <functional>

namespace orva_accelerator::bench {

struct Timing {
  double medianNs = 0;
  double lowNs = 0;   // Of ten samples, one is faster,
  double highNs = 0;  // and one is slower.
  int samples = 0;
};

// Runs `code` some times to warm up, then in samples of so many calls that the clock's resolution
// does not matter. Times are of one call.
Timing timeOf(const std::function<void()>& code);

// Shorter samples, for a run that only shows that everything works.
void makeTimingsQuick();

}  // namespace orva_accelerator::bench
