#include "win32/utf8.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

using win32::MalformedUtf8;
using win32::utf8FromWide;
using win32::wideFromUtf8;

// Two, three and four bytes; UTF-16 needs a pair for the last.
constexpr char kUtf8[] = "A\xC3\xA9\xE6\xB8\xB8\xF0\x9F\x8E\xAE";
constexpr wchar_t kWide[] = L"A\x00E9\x6E38\xD83C\xDFAE";

// More than the system can count in int. Nobody looks at what is there.
template <typename Text>
Text tooLong() {
  static constexpr typename Text::value_type kOne[] = {'A'};
  return {kOne, std::size_t{std::numeric_limits<int>::max()} + 1};
}

TEST(Utf8, BecomesUtf16) {
  EXPECT_EQ(wideFromUtf8(kUtf8), kWide);
}

TEST(Utf8, ComesFromUtf16) {
  EXPECT_EQ(utf8FromWide(kWide), kUtf8);
}

TEST(Utf8, KeepsZerosAndStopsAtTheLengthGiven) {
  using namespace std::string_view_literals;
  EXPECT_EQ(wideFromUtf8("a\0b"sv), L"a\0b"sv);
  EXPECT_EQ(utf8FromWide(L"a\0b"sv), "a\0b"sv);
  EXPECT_EQ(wideFromUtf8(std::string_view("abc", 2)), L"ab");
  EXPECT_EQ(utf8FromWide(std::wstring_view(L"abc", 2)), "ab");
}

TEST(Utf8, HasAnEmptyTextForAnEmptyText) {
  EXPECT_EQ(wideFromUtf8({}), L"");
  EXPECT_EQ(wideFromUtf8({}, MalformedUtf8::Refused), L"");
  EXPECT_EQ(utf8FromWide({}), "");
}

TEST(Utf8, ReplacesOrRefusesWhatIsMalformed) {
  EXPECT_EQ(wideFromUtf8("a\xFF"), L"a\xFFFD");
  EXPECT_EQ(wideFromUtf8("a\xFF", MalformedUtf8::Refused), std::nullopt);
  EXPECT_EQ(wideFromUtf8(kUtf8, MalformedUtf8::Refused), kWide);
  EXPECT_EQ(utf8FromWide(L"a\xD83C"), "a\xEF\xBF\xBD");
}

TEST(Utf8, HasNothingForATextThatIsTooLong) {
  EXPECT_EQ(wideFromUtf8(tooLong<std::string_view>()), std::nullopt);
  EXPECT_EQ(utf8FromWide(tooLong<std::wstring_view>()), std::nullopt);
}

// Which of the two calls fails: the one that asks for the size, or the one that converts.
class Utf8Failure : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(OfEitherCall, Utf8Failure, testing::Values(1, 2));

TEST_P(Utf8Failure, OfTheSystemLeavesNothing) {
  int calls = 0;
  ImportHook<decltype(MultiByteToWideChar)> toWide("kernel32.dll", "MultiByteToWideChar");
  toWide.replace([&](UINT page, DWORD flags, LPCCH text, int length, LPWSTR room, int size) {
    EXPECT_EQ(page, 65001U);
    EXPECT_EQ(flags, 0U);
    return ++calls == GetParam() ? 0 : toWide.callOriginal(page, flags, text, length, room, size);
  });
  EXPECT_EQ(wideFromUtf8(kUtf8), std::nullopt);

  calls = 0;
  ImportHook<decltype(WideCharToMultiByte)> toUtf8("kernel32.dll", "WideCharToMultiByte");
  toUtf8.replace([&](UINT page, DWORD flags, LPCWCH text, int length, LPSTR room, int size,
                     LPCCH replacement, LPBOOL replaced) {
    EXPECT_EQ(page, 65001U);
    EXPECT_EQ(flags, 0U);
    EXPECT_EQ(replacement, nullptr);
    EXPECT_EQ(replaced, nullptr);
    return ++calls == GetParam()
               ? 0
               : toUtf8.callOriginal(page, flags, text, length, room, size, replacement, replaced);
  });
  EXPECT_EQ(utf8FromWide(kWide), std::nullopt);
}

}  // namespace
}  // namespace orva_accelerator::test
