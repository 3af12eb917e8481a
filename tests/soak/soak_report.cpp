#include "tests/soak/soak_report.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "tests/soak/soak_scale.h"

namespace orva_accelerator::test {
namespace {

constexpr std::chrono::seconds kBetweenPrints{10};

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content << "\n";
  file.close();
  EXPECT_TRUE(file) << "cannot write " << path;
}

}  // namespace

Progress::Progress(std::string what, std::size_t total)
    : what_(std::move(what)), total_(total), nextPrint_(begun_ + kBetweenPrints) {}

void Progress::advance(std::size_t steps) {
  const std::size_t done = done_ += steps;
  if (done == 0) return;
  const auto now = Clock::now();
  const std::unique_lock lock(printing_, std::try_to_lock);
  if (!lock || now < nextPrint_) return;
  nextPrint_ = now + kBetweenPrints;
  const double seconds = std::chrono::duration<double>(now - begun_).count();
  const double left =
      done >= total_ ? 0 : seconds / static_cast<double>(done) * static_cast<double>(total_ - done);
  (void)std::printf("  %s: %zu of %zu, about %.0f s left\n", what_.c_str(), done, total_, left);
  (void)std::fflush(stdout);  // Only somebody who watches misses it.
}

SoakReport::SoakReport(const std::string& part)
    : name_(part + "_" + testing::UnitTest::GetInstance()->current_test_info()->name()) {}

void SoakReport::write(bool passed) {
  const auto seconds =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begun_)
          .count();
  std::string row = "| " + name_ + " | " + (passed ? "ok" : "FAILED") + " | ";
  std::string separator;
  for (const auto& [name, value] : figures_.items()) {
    row += separator + name + " " + value.dump();
    separator = "; ";
  }
  row += " | " + std::to_string(seconds) + " |";
  (void)std::printf("  %s\n", row.c_str());

  const char* const folder = std::getenv("ORVA_SOAK_RESULTS");
  if (folder == nullptr) return;
  const nlohmann::ordered_json all = {{"test", name_},
                                      {"passed", passed},
                                      {"seed", soakSeed()},
                                      {"seconds", seconds},
                                      {"figures", figures_}};
  const std::string path = std::string(folder) + "/" + name_;
  writeFile(path + ".json", all.dump(1));
  writeFile(path + ".md", row);
}

}  // namespace orva_accelerator::test
