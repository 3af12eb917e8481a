// Makes threads wait at the places where they may overtake each other, as a seed has it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace orva_accelerator::test {

// While it lives, the calling thread waits at race points, or does not, as the seed decides. Other
// threads pass.
class RacingThread {
 public:
  explicit RacingThread(std::uint64_t seed);
  RacingThread(const RacingThread&) = delete;
  RacingThread& operator=(const RacingThread&) = delete;
  ~RacingThread();

  std::size_t below(std::size_t limit) { return random_() % limit; }
  void waitOrPass();

 private:
  std::mt19937_64 random_;
};

// The names of all places of the service that any thread has passed so far: those that begin with
// "race: ".
std::vector<std::string> passedRacePoints();

}  // namespace orva_accelerator::test
