// What a part says while it runs, and what it leaves behind.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

namespace orva_accelerator::test {

// Prints how far a long run has come, and how long it will still take, every ten seconds. Any
// number of threads may advance it.
class Progress {
 public:
  Progress(std::string what, std::size_t total);

  void advance(std::size_t steps = 1);

 private:
  using Clock = std::chrono::steady_clock;

  const std::string what_;
  const std::size_t total_;
  const Clock::time_point begun_ = Clock::now();
  std::atomic<std::size_t> done_ = 0;
  std::mutex printing_;
  Clock::time_point nextPrint_;
};

// The figures of one test, in the order in which they are given. write() prints them and, when the
// environment names a folder in ORVA_SOAK_RESULTS, leaves <name>.json and <name>.md there; the
// latter is a row of a table.
class SoakReport {
 public:
  // "<part>_<name of the running test>".
  explicit SoakReport(const std::string& part);

  void figure(const std::string& name, std::int64_t value) { figures_[name] = value; }
  void write(bool passed);

 private:
  const std::string name_;
  const std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
  nlohmann::ordered_json figures_ = nlohmann::ordered_json::object();
};

}  // namespace orva_accelerator::test
