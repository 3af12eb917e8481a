#include "tools/record_text.h"

#include <gtest/gtest.h>

namespace orva_accelerator::tools {
namespace {

TEST(recordText, AlignsNamesAndValues) {
  EXPECT_EQ(recordText(toJson(orva_owner{1, 0})),
            "anyAcceleration  yes\n"
            "ownedByCaller    no\n");
}

TEST(recordText, AlignsATableByColumnsOnTheScreen) {
  const orva_used_node nodes[] = {{11, 2, {"asia-1", 6}, 38, {"Node 11", 7}, 5},
                                  {21, 3, {"上海", 6}, 41, {"", 0}, 7}};
  const orva_used_nodes list{1, 2, nodes};
  EXPECT_EQ(recordText(toJson(list)),
            "status  1\n"
            "count   2\n"
            "\n"
            "used1  used2  usedText1  used3  usedText2  used4\n"
            "11     2      asia-1     38     Node 11    5\n"
            "21     3      上海       41     (empty)    7\n");
}

TEST(recordText, EscapesControlCharactersOfTexts) {
  EXPECT_EQ(valueText("a\x1b[31mb"), "a\\x1b[31mb");
}

TEST(recordText, EscapesWhatTurnsTheDirectionOfWriting) {
  EXPECT_EQ(valueText("a\u202Eb\u009Bc\x7F\u2066"), "a\\u202eb\\x9bc\\x7f\\u2066");
  EXPECT_EQ(valueText("\u4E0A\u6D77\u200B"), "\u4E0A\u6D77\u200B");
}

TEST(oneLine, EscapesWhatJsonItselfLetsThrough) {
  EXPECT_EQ(oneLine(Json{{"text", "a\u202Eb\u009Bc\x7F\x1B"}}),
            "{\"text\":\"a\\u202eb\\u009bc\\u007f\\u001b\"}");
}

TEST(oneLine, IsAsciiForFilesAndPipes) {
  EXPECT_EQ(oneLine(Json{{"text", "\u4E0A\U0001F600\x7F\xFF"}}, Characters::Ascii),
            "{\"text\":\"\\u4e0a\\ud83d\\ude00\\u007f\\ufffd\"}");
}

TEST(oneLine, ReplacesBytesThatAreNotUtf8) {
  EXPECT_EQ(oneLine(Json{{"text", "a\xFFz"}}), "{\"text\":\"a\xEF\xBF\xBDz\"}");
}

}  // namespace
}  // namespace orva_accelerator::tools
