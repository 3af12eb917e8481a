#include "bench/client/report.h"

#include <utility>

#include "bench/client/svg_plot.h"

namespace orva_accelerator::bench {

namespace {

using Json = nlohmann::ordered_json;

Json toJson(const Spread& spread) {
  return {{"median", spread.median},
          {"min", spread.min},
          {"max", spread.max},
          {"rounds", spread.count}};
}

Json toJson(const Comparison& comparison) {
  return {{"ratio", toJson(comparison.ratio)},
          {"floorAgainstFloor", toJson(comparison.floorAgainstFloor)},
          {"conclusive", comparison.isConclusive()}};
}

std::string ratioCell(const Comparison& comparison) {
  const Spread& ratio = comparison.ratio;
  return "**" + number(ratio.median, 3) + "** (" + number(ratio.min, 2) + " to " +
         number(ratio.max, 2) + ")";
}

std::string judge(const Comparison& comparison, bool isMet) {
  if (!comparison.isConclusive()) return "inconclusive";
  return isMet ? "met" : "missed";
}

}  // namespace

void Report::beginTable(const std::string& title, const std::string& text,
                        const std::vector<std::string>& columns) {
  tables_.begin(title, text, columns);
}

void Report::beginComparison(const std::string& title, const std::string& text) {
  beginTable(title, text,
             {"", "floor A /s", "floor B /s", "service /s", "rate", "A/A", "p50 µs floor, service",
              "p50", "p99 µs floor, service", "p99", "rate, p50, p99"});
}

void Report::addComparison(const std::string& label, const Rounds& rounds,
                           const std::optional<Limits>& limits) {
  const Comparison rate = compare(rounds, operationsPerSecond);
  const Comparison p50 = compare(rounds, p50Us);
  const Comparison p99 = compare(rounds, p99Us);
  const auto middle = [&rounds](std::size_t server, const Figure& figure) {
    return median(figures(rounds[server], figure));
  };
  const auto pair = [&middle](const Figure& figure) {
    return number(middle(FloorA, figure), 0) + ", " + number(middle(Product, figure), 0);
  };
  std::string verdict = "-";
  if (limits) {
    verdict = judge(rate, rate.ratio.median >= limits->slowestRate) + ", " +
              judge(p50, p50.ratio.median <= limits->slowestP50) + ", " +
              judge(p99, p99.ratio.median <= limits->slowestP99);
  }
  Json perSecond = Json::object();
  const char* const names[] = {"floorA", "floorB", "service"};
  for (const std::size_t server : {FloorA, FloorB, Product}) {
    perSecond[names[server]] = {
        {"perSecond", toJson(spreadOf(figures(rounds[server], operationsPerSecond)))},
        {"p50Us", middle(server, p50Us)},
        {"p99Us", middle(server, p99Us)}};
  }
  addRow({label, number(middle(FloorA, operationsPerSecond), 0),
          number(middle(FloorB, operationsPerSecond), 0),
          number(middle(Product, operationsPerSecond), 0), ratioCell(rate),
          number(rate.floorAgainstFloor.median, 3), pair(p50Us), ratioCell(p50), pair(p99Us),
          ratioCell(p99), verdict},
         {{"label", label},
          {"servers", perSecond},
          {"rate", toJson(rate)},
          {"p50", toJson(p50)},
          {"p99", toJson(p99)},
          {"verdict", verdict}});
}

void Report::addRow(const std::vector<std::string>& cells, Json data) {
  tables_.add(cells, std::move(data));
  write();
}

void Report::addPoint(int connections, const Rounds& rounds) {
  Point point = {connections, {}, {}};
  for (const auto& slots : rounds) {
    point.perSecond.push_back(median(figures(slots, operationsPerSecond)));
    point.p99Us.push_back(median(figures(slots, p99Us)));
  }
  points_.push_back(std::move(point));
}

void Report::write() const {
  tables_.write(folder_ + "/pipes");
  if (points_.empty()) return;
  SvgPlot plot({"floor A", "floor B", "service"});
  for (const Point& point : points_) {
    plot.addPoint(point.connections, point.perSecond, point.p99Us);
  }
  writeFile(folder_ + "/pipes.svg", plot.draw("round trips/s", "p99, µs"));
}

}  // namespace orva_accelerator::bench
