#include "bench/client/rounds.h"

namespace orva_accelerator::bench {

double Stopwatch::elapsedUs() const {
  static const double ticksPerUs = [] {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(frequency.QuadPart) / 1e6;
  }();
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return static_cast<double>(now.QuadPart - start_.QuadPart) / ticksPerUs;
}

Rounds runRounds(int rounds, std::size_t servers,
                 const std::function<Slot(std::size_t server)>& measure) {
  Rounds slots(servers);
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < servers; ++turn) {
      const std::size_t server = (turn + static_cast<std::size_t>(round)) % servers;
      slots[server].push_back(measure(server));
    }
  }
  return slots;
}

double operationsPerSecond(const Slot& slot) {
  return slot.seconds > 0 ? slot.operations / slot.seconds : 0;
}
double p50Us(const Slot& slot) {
  return percentile(slot.latenciesUs, 0.5);
}
double p99Us(const Slot& slot) {
  return percentile(slot.latenciesUs, 0.99);
}

std::vector<double> figures(const std::vector<Slot>& slots, const Figure& figure) {
  std::vector<double> values;
  values.reserve(slots.size());
  for (const Slot& slot : slots) values.push_back(figure(slot));
  return values;
}

bool Comparison::isConclusive() const {
  return floorAgainstFloor.median >= 0.93 && floorAgainstFloor.median <= 1.07;
}

Comparison compare(const Rounds& rounds, const Figure& figure) {
  std::vector<double> ratios;
  std::vector<double> floorRatios;
  for (std::size_t round = 0; round < rounds[Product].size(); ++round) {
    const double floorA = figure(rounds[FloorA][round]);
    const double floorB = figure(rounds[FloorB][round]);
    ratios.push_back(figure(rounds[Product][round]) / ((floorA + floorB) / 2));
    floorRatios.push_back(floorB / floorA);
  }
  return {spreadOf(ratios), spreadOf(floorRatios)};
}

}  // namespace orva_accelerator::bench
