// Defects that are there on purpose, to see that they are found: a table of registrations like the
// server's, which loses an update or goes on using what it has erased. Both need another thread to
// come in between two neighbouring lines. Neither is undefined behaviour: the table says what went
// wrong instead of corrupting anything.

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/races/race_points.h"
#include "win32/race_point.h"

namespace orva_accelerator::test {
namespace {

constexpr std::size_t kThreads = 4;
constexpr std::size_t kSteps = 8;
// A tenth of what an ordinary run of the race tests has.
constexpr std::uint64_t kSeeds = 30;

enum class Defect { None, LosesAnUpdate, UsesWhatWasErased };

class PlantedTable {
 public:
  explicit PlantedTable(Defect defect) : defect_(defect) {}

  // Counts a registration.
  void add() {
    if (defect_ != Defect::LosesAnUpdate) {
      ++registrations_;
      return;
    }
    const std::size_t before = registrations_;
    win32::racePoint("planted: lost update");
    registrations_ = before + 1;
  }

  // Puts another entry in the place of the one that is there, which is erased.
  void replace() {
    const std::lock_guard lock(mutex_);
    entries_[current_].erased = true;
    current_ = (current_ + 1) % entries_.size();
    entries_[current_].erased = false;
  }

  // Uses the entry that is there; it must not be erased meanwhile.
  void use() {
    std::unique_lock lock(mutex_);
    const Entry& entry = entries_[current_];
    if (defect_ == Defect::UsesWhatWasErased) lock.unlock();
    win32::racePoint("planted: use after erase");
    if (entry.erased) ++usedErased_;
  }

  std::size_t registrations() const { return registrations_; }
  std::size_t usedErased() const { return usedErased_; }

 private:
  struct Entry {
    std::atomic<bool> erased{true};
  };

  const Defect defect_;
  std::atomic<std::size_t> registrations_{0};
  std::atomic<std::size_t> usedErased_{0};
  std::mutex mutex_;
  std::array<Entry, 1024> entries_;  // More than are ever replaced: none comes back to life.
  std::size_t current_ = 0;
};

void runSteps(PlantedTable& table, std::uint64_t seed, std::atomic<std::size_t>& ready,
              std::atomic<std::size_t>& added) {
  RacingThread thread(seed);
  ++ready;
  while (ready < kThreads) Sleep(0);
  for (std::size_t i = 0; i < kSteps; ++i) {
    switch (thread.below(3)) {
      case 0:
        table.add();
        ++added;
        break;
      case 1:
        table.replace();
        break;
      default:
        table.use();
    }
  }
}

// True if anything went wrong.
bool isCaughtBy(std::uint64_t seed, Defect defect) {
  PlantedTable table(defect);
  table.replace();  // There is always an entry.
  std::atomic<std::size_t> ready{0};
  std::atomic<std::size_t> added{0};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back(runSteps, std::ref(table), seed * kThreads + i, std::ref(ready),
                         std::ref(added));
  }
  for (std::thread& thread : threads) thread.join();
  return table.registrations() != added || table.usedErased() != 0;
}

struct Caught {
  std::uint64_t seeds = 0;
  std::uint64_t first = 0;  // The first of them.
};

Caught tryAllSeeds(Defect defect) {
  Caught caught;
  for (std::uint64_t seed = 1; seed <= kSeeds; ++seed) {
    if (isCaughtBy(seed, defect) && ++caught.seeds == 1) caught.first = seed;
  }
  std::printf("caught by %llu of %llu seeds, first by %llu\n",
              static_cast<unsigned long long>(caught.seeds),
              static_cast<unsigned long long>(kSeeds),
              static_cast<unsigned long long>(caught.first));
  return caught;
}

TEST(PlantedRace, OfALostUpdateIsCaught) {
  EXPECT_GT(tryAllSeeds(Defect::LosesAnUpdate).seeds, 0U);
}

TEST(PlantedRace, OfAUseAfterAnEraseIsCaught) {
  EXPECT_GT(tryAllSeeds(Defect::UsesWhatWasErased).seeds, 0U);
}

TEST(PlantedRace, IsNotSeenWhereThereIsNone) {
  EXPECT_EQ(tryAllSeeds(Defect::None).seeds, 0U);
}

}  // namespace
}  // namespace orva_accelerator::test
