#include "sdk/fixed_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace orva_accelerator::sdk {
namespace {

TEST(FixedText, EndsAtTheFirstNul) {
  const char16_t units[8] = {u'a', u'b', 0, u'c', 0, 0, 0, u'd'};
  EXPECT_EQ(fixedText(units), L"ab");
}

TEST(IsFixedText, TellsTextsApartUnitForUnit) {
  const char16_t units[8] = {u'a', u'b', u'c', u'd', u'e', 0, u'g', 0};
  EXPECT_TRUE(isFixedText(units, L"abcde"));
  EXPECT_FALSE(isFixedText(units, L"abcd"));
  EXPECT_FALSE(isFixedText(units, L"abcdE"));
  EXPECT_FALSE(isFixedText(units, L"abcdef"));
  EXPECT_FALSE(isFixedText(units, L""));
  EXPECT_FALSE(isFixedText(units, std::wstring(L"abcde\0g", 7)));
  EXPECT_FALSE(isFixedText(units, L"abcdefghi"));
}

TEST(IsFixedText, KnowsATextThatIsAsLongAsItsArray) {
  const char16_t units[3] = {u'a', u'b', u'c'};
  EXPECT_TRUE(isFixedText(units, L"abc"));
  EXPECT_FALSE(isFixedText(units, L"abcd"));
  EXPECT_FALSE(isFixedText(units, L"ab"));
}

TEST(FixedText, IsEmptyWhenTheFirstUnitIsNul) {
  const char16_t units[4] = {0, u'b', u'c', u'd'};
  EXPECT_EQ(fixedText(units), L"");
}

// On the guarded heap the array ends where memory does.
TEST(FixedText, EndsWithAnArrayThatIsNotTerminated) {
  using Array = char16_t[8];
  const std::unique_ptr<Array[]> arrays(new Array[1]);
  std::fill_n(arrays[0], 8, u'\u6E38');
  EXPECT_EQ(fixedText(arrays[0]), std::wstring(8, L'\u6E38'));
}

// Longer than what is looked at in one go, and no multiple of it.
TEST(FixedText, EndsAtAFirstNulInAnyPlace) {
  for (std::size_t length = 0; length <= 41; ++length) {
    char16_t units[41];
    std::fill_n(units, 41, u'x');
    std::fill_n(units, length, u'\u6E38');
    if (length < 41) units[length] = 0;
    EXPECT_EQ(fixedText(units), std::wstring(length, L'\u6E38')) << length;
    EXPECT_EQ(fixedTextLength(units), length);
  }
}

TEST(FixedText, TakesUnitsAsTheyAre) {
  const char16_t units[4] = {0xD800, 0xFFFF, 0x0001, 0};
  EXPECT_EQ(fixedText(units), (std::wstring{wchar_t{0xD800}, wchar_t{0xFFFF}, wchar_t{1}}));
}

}  // namespace
}  // namespace orva_accelerator::sdk
