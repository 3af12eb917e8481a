#include "sdk/node_selection.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <stdexcept>
#include <string>
#include <vector>

namespace orva_accelerator::sdk {
namespace {

// Keeps what stands behind an embedded NUL.
template <std::size_t Size>
std::wstring text(const wchar_t (&literal)[Size]) {
  return std::wstring(literal, Size - 1);
}

// For failure messages: every unit outside printable ASCII as its number.
std::string shown(const std::wstring& selection) {
  std::string out = "\"";
  for (const wchar_t unit : selection) {
    if (unit >= 0x20 && unit < 0x7F) {
      out += static_cast<char>(unit);
    } else {
      out += "<" + std::to_string(static_cast<unsigned>(unit)) + ">";
    }
  }
  return out + "\"";
}

constexpr bool kAuto = true;
constexpr bool kListed = false;

struct Accepted {
  std::wstring selection;
  bool isAuto;
  std::vector<int> nodes;
};

const std::vector<Accepted> kAccepted = {
    // Automatic.
    {text(L""), kAuto, {}},
    {text(L"auto"), kAuto, {}},
    // Blank pieces.
    {text(L";"), kListed, {}},
    {text(L";;;"), kListed, {}},
    {text(L"1;;2;"), kListed, {1, 2}},
    {text(L";1"), kListed, {1}},
    {text(L"1;"), kListed, {1}},
    {text(L";;1;;;2;;"), kListed, {1, 2}},
    // Order and repetition are the client's.
    {text(L"7"), kListed, {7}},
    {text(L"3;1;2"), kListed, {3, 1, 2}},
    {text(L"5;5;5"), kListed, {5, 5, 5}},
    {text(L"0"), kListed, {0}},
    {text(L"1;2;3;4;5;6;7;8;9;10"), kListed, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}},
    // Signs and leading zeros.
    {text(L"-3"), kListed, {-3}},
    {text(L"+5"), kListed, {5}},
    {text(L"-0"), kListed, {0}},
    {text(L"007"), kListed, {7}},
    {text(L"-007;+008"), kListed, {-7, 8}},
    {text(L"00000000000000000000000000000012"), kListed, {12}},
    // Leading white space.
    {text(L" 7x"), kListed, {7}},
    {text(L"    42"), kListed, {42}},
    {text(L"\t7;\n8;\v9;\f10;\r11"), kListed, {7, 8, 9, 10, 11}},
    {text(L" \t\r\n -6"), kListed, {-6}},
    {text(L"\u00A07"), kListed, {7}},        // No-break space.
    {text(L"\u30007"), kListed, {7}},        // Ideographic space.
    {text(L"\u2003\u20037"), kListed, {7}},  // Em spaces.
    // Trailing junk.
    {text(L"7x"), kListed, {7}},
    {text(L"7 "), kListed, {7}},
    {text(L"7 8"), kListed, {7}},
    {text(L"1.5"), kListed, {1}},
    {text(L"1,2,3"), kListed, {1}},
    {text(L"1e3"), kListed, {1}},
    {text(L"0x10"), kListed, {0}},
    {text(L"12-34"), kListed, {12}},
    {text(L"9\u8282\u70B9"), kListed, {9}},
    {text(L"1|2;3"), kListed, {1, 3}},
    {text(L"4auto"), kListed, {4}},
    // Limits.
    {text(L"2147483647"), kListed, {INT_MAX}},
    {text(L"-2147483648"), kListed, {INT_MIN}},
    {text(L"2147483647;-2147483648"), kListed, {INT_MAX, INT_MIN}},
    // Digits of other scripts count as the system's conversion counts them.
    {text(L"\uFF17"), kListed, {7}},              // Full-width 7.
    {text(L"\uFF11\uFF12;3"), kListed, {12, 3}},  // Full-width 12.
    {text(L"\u0663"), kListed, {3}},              // Arabic-Indic 3.
    {text(L"1\u0663"), kListed, {13}},
    {text(L"5\u4E03"), kListed, {5}},  // A Chinese numeral is a letter.
    // An embedded NUL ends its piece and no other.
    {text(L"12\0junk"), kListed, {12}},
    {text(L"1\0;2"), kListed, {1, 2}},
    {text(L"1\0"
          L"9;2"),
     kListed,
     {1, 2}},
};

enum class Refusal { Invalid, OutOfRange };

struct Refused {
  std::wstring selection;
  Refusal refusal;
};

const std::vector<Refused> kRefused = {
    // Only the exact word is automatic.
    {text(L"AUTO"), Refusal::Invalid},
    {text(L"Auto"), Refusal::Invalid},
    {text(L"auto;"), Refusal::Invalid},
    {text(L";auto"), Refusal::Invalid},
    {text(L"auto "), Refusal::Invalid},
    {text(L" auto"), Refusal::Invalid},
    {text(L"automatic"), Refusal::Invalid},
    {text(L"aut"), Refusal::Invalid},
    {text(L"1;auto"), Refusal::Invalid},
    {text(L"auto\0"), Refusal::Invalid},
    // A piece without a digit at its start.
    {text(L"x"), Refusal::Invalid},
    {text(L"x7"), Refusal::Invalid},
    {text(L","), Refusal::Invalid},
    {text(L"1;x;2"), Refusal::Invalid},
    {text(L"."), Refusal::Invalid},
    {text(L"\u8282\u70B9"), Refusal::Invalid},
    {text(L"\u4E03"), Refusal::Invalid},
    // White space alone is not a blank piece.
    {text(L" "), Refusal::Invalid},
    {text(L"\t"), Refusal::Invalid},
    {text(L"1; ;2"), Refusal::Invalid},
    {text(L"1;\u3000"), Refusal::Invalid},
    // Signs.
    {text(L"-"), Refusal::Invalid},
    {text(L"+"), Refusal::Invalid},
    {text(L"--3"), Refusal::Invalid},
    {text(L"+-3"), Refusal::Invalid},
    {text(L"- 3"), Refusal::Invalid},
    {text(L"\u22123"), Refusal::Invalid},  // The typographic minus.
    // Embedded NUL.
    {text(L"\0"), Refusal::Invalid},
    {text(L"\0"
          L"7"),
     Refusal::Invalid},
    {text(L"1;\0;2"), Refusal::Invalid},
    // One beyond the limits, and far beyond.
    {text(L"2147483648"), Refusal::OutOfRange},
    {text(L"-2147483649"), Refusal::OutOfRange},
    {text(L"4294967295"), Refusal::OutOfRange},
    {text(L"4294967296"), Refusal::OutOfRange},
    {text(L"9223372036854775808"), Refusal::OutOfRange},
    {text(L"-99999999999999999999999999"), Refusal::OutOfRange},
    {text(L"99999999999x"), Refusal::OutOfRange},
    {text(L"1;2147483648;2"), Refusal::OutOfRange},
    // The first bad piece decides.
    {text(L"x;2147483648"), Refusal::Invalid},
    {text(L"2147483648;x"), Refusal::OutOfRange},
};

TEST(ParseNodeSelection, AcceptsWhatIsEmptyAutoOrAListOfNumbers) {
  for (const Accepted& row : kAccepted) {
    SCOPED_TRACE(shown(row.selection));
    NodeSelection selection;
    ASSERT_NO_THROW(selection = ParseNodeSelection(row.selection));
    EXPECT_EQ(selection.isAuto, row.isAuto);
    EXPECT_EQ(selection.nodes, row.nodes);
  }
}

TEST(ParseNodeSelection, ThrowsWithTheSameTextOnEveryStandardLibraryWhenAPieceIsNoNumber) {
  for (const Refused& row : kRefused) {
    if (row.refusal != Refusal::Invalid) continue;
    SCOPED_TRACE(shown(row.selection));
    try {
      (void)ParseNodeSelection(row.selection);
      ADD_FAILURE() << "accepted";
    } catch (const std::invalid_argument& error) {
      EXPECT_STREQ(error.what(), "invalid stoi argument");
    } catch (const std::exception& error) {
      ADD_FAILURE() << "another exception: " << error.what();
    }
  }
}

TEST(ParseNodeSelection, ThrowsWithTheSameTextOnEveryStandardLibraryWhenANumberDoesNotFit) {
  for (const Refused& row : kRefused) {
    if (row.refusal != Refusal::OutOfRange) continue;
    SCOPED_TRACE(shown(row.selection));
    try {
      (void)ParseNodeSelection(row.selection);
      ADD_FAILURE() << "accepted";
    } catch (const std::out_of_range& error) {
      EXPECT_STREQ(error.what(), "stoi argument out of range");
    } catch (const std::exception& error) {
      ADD_FAILURE() << "another exception: " << error.what();
    }
  }
}

TEST(ParseNodeSelection, DoesNotTakeAnEarlierCallsErrorForItsOwn) {
  errno = ERANGE;
  EXPECT_EQ(ParseNodeSelection(L"7").nodes, std::vector<int>{7});
}

TEST(ParseNodeSelection, ReadsTheLongestListThatARequestCanCarry) {
  std::wstring longest;
  for (int piece = 0; piece < 32'767; ++piece) longest += L"1;";
  longest += L"1";
  ASSERT_EQ(longest.size(), 65'535U);
  const NodeSelection selection = ParseNodeSelection(longest);
  EXPECT_FALSE(selection.isAuto);
  EXPECT_EQ(selection.nodes, std::vector<int>(32'768, 1));
}

TEST(formatNodeList, JoinsDecimalNumbersWithoutTrailingSeparator) {
  EXPECT_EQ(formatNodeList({}), L"");
  EXPECT_EQ(formatNodeList({0}), L"0");
  EXPECT_EQ(formatNodeList({-3}), L"-3");
  EXPECT_EQ(formatNodeList({1, 2}), L"1;2");
  EXPECT_EQ(formatNodeList({3, 1, -2, 3}), L"3;1;-2;3");
  EXPECT_EQ(formatNodeList({INT_MAX, INT_MIN}), L"2147483647;-2147483648");
}

}  // namespace
}  // namespace orva_accelerator::sdk
