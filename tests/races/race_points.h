// Makes threads wait at the places where they may overtake each other: as a seed has it, or at one
// place until they are let go.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace orva_accelerator::test {

// While one lives, the calling thread comes to it at every race point. Other threads pass.
class RacePointVisitor {
 public:
  RacePointVisitor();
  RacePointVisitor(const RacePointVisitor&) = delete;
  RacePointVisitor& operator=(const RacePointVisitor&) = delete;
  virtual ~RacePointVisitor();

  virtual void visit(const char* place) = 0;
};

// Waits at race points, or does not, as the seed decides.
class RacingThread : public RacePointVisitor {
 public:
  explicit RacingThread(std::uint64_t seed) : random_(seed) {}

  std::size_t below(std::size_t limit) { return random_() % limit; }
  void visit(const char* place) override;

 private:
  std::mt19937_64 random_;
};

// A place at which threads are held until it is opened.
struct RaceGate {
  const char* const place;
  std::atomic<int> held{0};
  std::atomic<bool> open{false};
};

// Holds the calling thread at the gate, the first time it comes there.
class GatedThread : public RacePointVisitor {
 public:
  explicit GatedThread(RaceGate& gate) : gate_(gate) {}
  void visit(const char* place) override;

 private:
  RaceGate& gate_;
  bool passed_ = false;
};

// The names of all places of the service that any racing thread has passed so far: those that begin
// with "race: ".
std::vector<std::string> passedRacePoints();

}  // namespace orva_accelerator::test
