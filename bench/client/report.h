// The results of a run, as Markdown tables and as JSON, written anew after every row so that a run
// that is cut short leaves what it has.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "bench/client/rounds.h"
#include "bench/common/tables.h"

namespace orva_accelerator::bench {

// What the product must not exceed, as ratios to the floor.
struct Limits {
  double slowestRate = 0.97;
  double slowestP50 = 1.05;
  double slowestP99 = 1.2;
};

class Report {
 public:
  // Files `pipes.md`, `pipes.json` and `pipes.svg` in this folder.
  explicit Report(std::string folder) : folder_(std::move(folder)) {}

  // Begins a table; `text` says what one operation is.
  void beginTable(const std::string& title, const std::string& text,
                  const std::vector<std::string>& columns);

  // A row of three servers, under beginComparison's columns. Without limits there is no verdict.
  void beginComparison(const std::string& title, const std::string& text);
  void addComparison(const std::string& label, const Rounds& rounds,
                     const std::optional<Limits>& limits);

  // Any other row; `data` is what the JSON says of it.
  void addRow(const std::vector<std::string>& cells, nlohmann::ordered_json data);

  // A point of the plot.
  void addPoint(int connections, const Rounds& rounds);

  void write() const;

 private:
  struct Point {
    int connections;
    std::vector<double> perSecond;
    std::vector<double> p99Us;
  };
  std::string folder_;
  Tables tables_;
  std::vector<Point> points_;
};

}  // namespace orva_accelerator::bench
