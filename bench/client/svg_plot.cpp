#include "bench/client/svg_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace orva_accelerator::bench {

namespace {

constexpr double kWidth = 330;
constexpr double kHeight = 240;
constexpr double kTop = 50;
constexpr double kLeft[] = {70, 490};
constexpr int kLines = 5;

const char* const kColours[] = {"#8a8a8a", "#c0c0c0", "#1769c2"};

std::string shown(double value) {
  char text[32];
  (void)std::snprintf(text, sizeof(text), "%.6g", value);  // Long enough for any.
  return text;
}

std::string text(double x, double y, const char* anchor, const std::string& content) {
  return "<text x=\"" + shown(x) + "\" y=\"" + shown(y) + "\" text-anchor=\"" + anchor + "\">" +
         content + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const char* colour) {
  return "<line x1=\"" + shown(x1) + "\" y1=\"" + shown(y1) + "\" x2=\"" + shown(x2) + "\" y2=\"" +
         shown(y2) + "\" stroke=\"" + colour + "\"/>\n";
}

// The distance of the axis' lines: a round number that makes at most kLines of them.
double axisStep(double largest) {
  const double power = std::pow(10, std::floor(std::log10(std::max(largest, 1.0) / kLines)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (power * factor * kLines >= largest) return power * factor;
  }
  return power * 10;
}

}  // namespace

double SvgPlot::x(double left, int connections) const {
  const double most = std::max(2, points_.back().connections);
  return left + kWidth * std::log(connections) / std::log(most);
}

std::string SvgPlot::drawDiagram(int diagram, double left, const std::string& title) const {
  double largest = 0;
  for (const Point& point : points_) {
    largest = std::max(largest, std::ranges::max(point.values[diagram]));
  }
  const double step = axisStep(largest);
  const double top = step * std::ceil(std::max(largest, step) / step);
  const auto y = [top](double value) { return kTop + kHeight * (1 - value / top); };
  std::string svg = text(left, kTop - 14, "start", title);
  for (double value = 0; value <= top; value += step) {
    svg += line(left, y(value), left + kWidth, y(value), "#e4e4e4");
    svg += text(left - 6, y(value) + 4, "end", shown(value));
  }
  for (const Point& point : points_) {
    svg += text(x(left, point.connections), kTop + kHeight + 18, "middle",
                std::to_string(point.connections));
  }
  svg += text(left + kWidth / 2, kTop + kHeight + 36, "middle", "connections");
  for (std::size_t series = 0; series < series_.size(); ++series) {
    std::string path;
    for (const Point& point : points_) {
      path +=
          shown(x(left, point.connections)) + "," + shown(y(point.values[diagram][series])) + " ";
    }
    svg += "<polyline fill=\"none\" stroke-width=\"2\" stroke=\"" + std::string(kColours[series]) +
           "\" points=\"" + path + "\"/>\n";
  }
  return svg;
}

std::string SvgPlot::draw(const std::string& leftTitle, const std::string& rightTitle) const {
  std::string svg =
      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 850 345\" width=\"850\" "
      "height=\"345\" font-family=\"sans-serif\" font-size=\"12\">\n"
      "<rect width=\"850\" height=\"345\" fill=\"white\"/>\n";
  svg += drawDiagram(0, kLeft[0], leftTitle);
  svg += drawDiagram(1, kLeft[1], rightTitle);
  for (std::size_t series = 0; series < series_.size(); ++series) {
    const double left = kLeft[0] + 90 * static_cast<double>(series);
    svg += line(left, 16, left + 20, 16, kColours[series]);
    svg += text(left + 26, 20, "start", series_[series]);
  }
  return svg + "</svg>\n";
}

}  // namespace orva_accelerator::bench
