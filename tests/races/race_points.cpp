#include "tests/races/race_points.h"

#include <windows.h>

#include <mutex>
#include <set>
#include <string_view>

#include "win32/race_point.h"

namespace orva_accelerator::test {
namespace {

thread_local RacingThread* racing = nullptr;

std::mutex placesMutex;
std::set<std::string> places;

void remember(const char* place) {
  const std::lock_guard lock(placesMutex);
  places.insert(place);
}

}  // namespace

RacingThread::RacingThread(std::uint64_t seed) : random_(seed) {
  racing = this;
}
RacingThread::~RacingThread() {
  racing = nullptr;
}

void RacingThread::waitOrPass() {
  switch (below(8)) {
    case 0:
      return Sleep(1);
    case 1:
    case 2:
      return Sleep(0);
    case 3:
      (void)SwitchToThread();  // Whether or not there was another to switch to.
      return;
    default:
      return;
  }
}

std::vector<std::string> passedRacePoints() {
  const std::lock_guard lock(placesMutex);
  return {places.begin(), places.end()};
}

}  // namespace orva_accelerator::test

void orva_accelerator::win32::racePoint(const char* place) {
  using namespace orva_accelerator::test;
  if (racing == nullptr) return;
  if (std::string_view(place).starts_with("race: ")) remember(place);
  racing->waitOrPass();
}
