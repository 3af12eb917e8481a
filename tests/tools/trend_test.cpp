#include "tools/trend.h"

#include <gtest/gtest.h>

#include <limits>

#include "tools/live_figures.h"

namespace orva_accelerator::tools {
namespace {

std::string line(std::initializer_list<std::uint64_t> values) {
  Trend trend;
  for (const std::uint64_t value : values) trend.add(value);
  return trend.line();
}

TEST(Trend, IsEmptyWhileNothingMoves) {
  EXPECT_EQ(line({}), "");
  EXPECT_EQ(line({5, 5, 5}), "");
}

TEST(Trend, ReachesFromTheLowestToTheHighestValue) {
  EXPECT_EQ(line({0, 1, 2, 3, 4, 5, 6, 7}), "▁▂▃▄▅▆▇█");
  EXPECT_EQ(line({10, 20, 10}), "▁█▁");
  EXPECT_EQ(line({0, std::numeric_limits<std::uint64_t>::max()}), "▁█");
}

TEST(Trend, ForgetsWhatIsOld) {
  Trend trend;
  trend.add(1000);
  for (std::size_t i = 0; i < Trend::kKept; ++i) trend.add(i % 2);
  EXPECT_EQ(trend.line().find("▁█"), 0u);
}

TEST(LiveFigures, DrawsATrendOnlyForWhatMoved) {
  LiveFigures figures;
  orva_accel_data data{};
  data.value1 = 1;
  data.text3 = {"上海节点", 12};
  figures.add(toJson(data));
  data.value1 = 2;
  figures.add(toJson(data));
  const std::string text = figures.text();
  EXPECT_NE(text.find("value1   2             ▁█\n"), std::string::npos) << text;
  EXPECT_NE(text.find("value2   0\n"), std::string::npos) << text;
  EXPECT_NE(text.find("text3    上海节点\n"), std::string::npos) << text;
}

}  // namespace
}  // namespace orva_accelerator::tools
