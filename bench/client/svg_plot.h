// Two diagrams side by side over one logarithmic axis of connections, as an SVG picture.
#pragma once

#include <string>
#include <vector>

namespace orva_accelerator::bench {

class SvgPlot {
 public:
  explicit SvgPlot(std::vector<std::string> series) : series_(std::move(series)) {}

  // One value a series and diagram.
  void addPoint(int connections, std::vector<double> left, std::vector<double> right) {
    points_.push_back({connections, {std::move(left), std::move(right)}});
  }

  std::string draw(const std::string& leftTitle, const std::string& rightTitle) const;

 private:
  struct Point {
    int connections;
    std::vector<double> values[2];
  };
  std::string drawDiagram(int diagram, double left, const std::string& title) const;
  double x(double left, int connections) const;

  std::vector<std::string> series_;
  std::vector<Point> points_;
};

}  // namespace orva_accelerator::bench
