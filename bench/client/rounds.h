// The way in which servers are compared: all alive together, each measured once a round, in an
// order that is rotated from round to round. What counts is the ratio within a round, because the
// machine's speed drifts from one to the next.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bench/client/statistics.h"

namespace orva_accelerator::bench {

struct Server {
  std::string name;
  std::wstring requestPipe;
  std::wstring pushPipe;
  unsigned processId = 0;  // The host system's number of the process; 0 if it is not known.
};

// The servers in the order in which results list them.
enum ServerIndex : std::size_t { FloorA, FloorB, Product };

// What one server did in one round.
struct Slot {
  double operations = 0;
  double seconds = 0;
  std::vector<double> latenciesUs;
};

// Measures an interval, in microseconds.
class Stopwatch {
 public:
  Stopwatch() { QueryPerformanceCounter(&start_); }
  double elapsedUs() const;

 private:
  LARGE_INTEGER start_;
};

// Slots by server, then by round. `measure` is called with the index of the server.
using Rounds = std::vector<std::vector<Slot>>;
Rounds runRounds(int rounds, std::size_t servers,
                 const std::function<Slot(std::size_t server)>& measure);

// One figure of every slot of a server.
using Figure = std::function<double(const Slot&)>;
double operationsPerSecond(const Slot& slot);
double p50Us(const Slot& slot);
double p99Us(const Slot& slot);
std::vector<double> figures(const std::vector<Slot>& slots, const Figure& figure);

// The product against the mean of the two floors of the same round, and floor B against floor A.
struct Comparison {
  Spread ratio;
  Spread floorAgainstFloor;
  // Whether two identical servers came out alike: a median of 0.93 to 1.07.
  bool isConclusive() const;
};
Comparison compare(const Rounds& rounds, const Figure& figure);

}  // namespace orva_accelerator::bench
