#include "tests/races/race_points.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <mutex>
#include <set>
#include <string_view>

#include "tests/support/bounded_wait.h"
#include "win32/race_point.h"

namespace orva_accelerator::test {
namespace {

thread_local RacePointVisitor* visitor = nullptr;

std::mutex placesMutex;
std::set<std::string> places;

void remember(const char* place) {
  const std::lock_guard lock(placesMutex);
  places.insert(place);
}

}  // namespace

RacePointVisitor::RacePointVisitor() {
  visitor = this;
}
RacePointVisitor::~RacePointVisitor() {
  visitor = nullptr;
}

void RacingThread::visit(const char* place) {
  if (std::string_view(place).starts_with("race: ")) remember(place);
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

void GatedThread::visit(const char* place) {
  if (passed_ || std::string_view(place) != gate_.place) return;
  passed_ = true;
  ++gate_.held;
  EXPECT_TRUE(waitUntil([this] { return gate_.open.load(); }));
}

std::vector<std::string> passedRacePoints() {
  const std::lock_guard lock(placesMutex);
  return {places.begin(), places.end()};
}

}  // namespace orva_accelerator::test

void orva_accelerator::win32::racePoint(const char* place) {
  if (orva_accelerator::test::visitor != nullptr) orva_accelerator::test::visitor->visit(place);
}
