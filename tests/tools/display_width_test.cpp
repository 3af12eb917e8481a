#include "tools/display_width.h"

#include <gtest/gtest.h>

namespace orva_accelerator::tools {
namespace {

TEST(displayWidth, CountsTwoColumnsForChineseCharacters) {
  EXPECT_EQ(displayWidth(""), 0u);
  EXPECT_EQ(displayWidth("Node 11"), 7u);
  EXPECT_EQ(displayWidth("上海节点21"), 10u);
  EXPECT_EQ(displayWidth("é"), 1u);
  EXPECT_EQ(displayWidth("e\xCC\x81"), 1u);
  EXPECT_EQ(displayWidth("▁█"), 2u);
}

TEST(displayWidth, SurvivesBytesThatAreNotUtf8) {
  EXPECT_EQ(displayWidth("\xE4\xB8"), 1u);
  EXPECT_EQ(displayWidth("\xFF\xFE"), 2u);
}

TEST(Padded, FillsUpToColumnsNotBytes) {
  EXPECT_EQ(padded("上海", 6), "上海  ");
  EXPECT_EQ(padded("asia", 6), "asia  ");
  EXPECT_EQ(padded("上海节点", 6), "上海节点");
}

TEST(withoutControls, EscapesWhatCouldDriveATerminal) {
  EXPECT_EQ(withoutControls("a\x1b[2Jb\n\x7f"), "a\\x1b[2Jb\\x0a\\x7f");
  EXPECT_EQ(withoutControls("\xC2\x9Bm"), "\\x9bm");
  EXPECT_EQ(withoutControls("上海é"), "上海é");
}

}  // namespace
}  // namespace orva_accelerator::tools
