#include "tools/display_width.h"

#include <gtest/gtest.h>

namespace orva_accelerator::tools {
namespace {

TEST(DisplayWidth, CountsTwoColumnsForChineseCharacters) {
  EXPECT_EQ(DisplayWidth(""), 0u);
  EXPECT_EQ(DisplayWidth("Node 11"), 7u);
  EXPECT_EQ(DisplayWidth("上海节点21"), 10u);
  EXPECT_EQ(DisplayWidth("é"), 1u);
  EXPECT_EQ(DisplayWidth("e\xCC\x81"), 1u);
  EXPECT_EQ(DisplayWidth("▁█"), 2u);
}

TEST(DisplayWidth, SurvivesBytesThatAreNotUtf8) {
  EXPECT_EQ(DisplayWidth("\xE4\xB8"), 1u);
  EXPECT_EQ(DisplayWidth("\xFF\xFE"), 2u);
}

TEST(Padded, FillsUpToColumnsNotBytes) {
  EXPECT_EQ(Padded("上海", 6), "上海  ");
  EXPECT_EQ(Padded("asia", 6), "asia  ");
  EXPECT_EQ(Padded("上海节点", 6), "上海节点");
}

TEST(WithoutControls, EscapesWhatCouldDriveATerminal) {
  EXPECT_EQ(WithoutControls("a\x1b[2Jb\n\x7f"), "a\\x1b[2Jb\\x0a\\x7f");
  EXPECT_EQ(WithoutControls("\xC2\x9Bm"), "\\x9bm");
  EXPECT_EQ(WithoutControls("上海é"), "上海é");
}

}  // namespace
}  // namespace orva_accelerator::tools
