// Texts between the wire and the service.
#include "handlers/text_conversion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/handlers/payload_with_margin.h"
#include "tests/support/golden_vectors.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::ipc {
namespace {

using test::Bytes;
using test::PayloadWithMargin;

// Texts that exist in both forms, unit for unit.
struct Pair {
  std::string utf8;
  std::wstring wide;
};

std::vector<Pair> pairs() {
  std::vector<Pair> rows = {
      {"a", L"a"},
      {"Star Arena", L"Star Arena"},
      {"\x7F", L"\x7F"},
      {"\xC2\x80", L"\u0080"},
      {"Z\xC3\xBCrich", L"Z\u00FCrich"},
      {"\xDF\xBF", L"\u07FF"},
      {"\xE0\xA0\x80", L"\u0800"},
      {"\xE6\xB8\xB8\xE6\x88\x8F\xE5\x8A\xA0\xE9\x80\x9F\xE5\x99\xA8",
       L"\u6E38\u620F\u52A0\u901F\u5668"},
      {"\xEF\xBF\xBD", L"\uFFFD"},
      {"\xEF\xBB\xBFx", L"\uFEFFx"},  // A byte order mark is a character like any other.
      {"\xF0\x90\x80\x80", L"\xD800\xDC00"},
      {"a\xF0\x9F\x8E\xAE"
       "b",
       L"a\xD83C\xDFAE"
       L"b"},
      {"\xF4\x8F\xBF\xBF", L"\xDBFF\xDFFF"},
      {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
      {std::string(1, '\0'), std::wstring(1, L'\0')},
      {std::string("auto\0", 5), std::wstring(L"auto\0", 5)},
      {"line\r\nline\t", L"line\r\nline\t"},
      {std::string(65'535, 'x'), std::wstring(65'535, L'x')},
  };
  Pair longest;
  for (int character = 0; character < 21'845; ++character) {
    longest.utf8 += "\xE6\xB8\xB8";
    longest.wide += L'\u6E38';
  }
  rows.push_back(longest);
  return rows;
}

// The system's own reading, which is the promise for what is not valid.
std::wstring systemsReading(const std::string& utf8) {
  const int bytes = static_cast<int>(utf8.size());
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(units), L'\0');
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, text.data(), units), units);
  return text;
}

std::wstring read(const std::string& utf8) {
  const Bytes bytes(utf8.begin(), utf8.end());
  const PayloadWithMargin payload(bytes);
  std::uint32_t cursor = 0;
  const std::wstring text =
      ReadPayloadText(payload.get(), cursor, static_cast<std::uint16_t>(utf8.size()));
  EXPECT_EQ(cursor, utf8.size());
  return text;
}

TEST(ReadPayloadText, ConvertsUtf8UnitForUnit) {
  for (const Pair& row : pairs()) EXPECT_EQ(read(row.utf8), row.wide);
}

TEST(ReadPayloadText, IsEmptyAndLeavesTheCursorWhenTheLengthIsZero) {
  std::uint32_t cursor = 12;
  // Nothing is read: there is nothing at that address.
  EXPECT_EQ(ReadPayloadText(nullptr, cursor, 0), L"");
  EXPECT_EQ(cursor, 12U);
}

TEST(ReadPayloadText, ReadsAtTheCursorAndAdvancesItByTheBytes) {
  const Bytes bytes = {'x', 'x', 0xE7, 0x8E, 0xA9, 'a', 'b', 'c'};
  const PayloadWithMargin payload(bytes);
  std::uint32_t cursor = 2;
  EXPECT_EQ(ReadPayloadText(payload.get(), cursor, 3), L"\u73A9");
  EXPECT_EQ(cursor, 5U);
  EXPECT_EQ(ReadPayloadText(payload.get(), cursor, 0), L"");
  EXPECT_EQ(cursor, 5U);
  EXPECT_EQ(ReadPayloadText(payload.get(), cursor, 2), L"ab");
  EXPECT_EQ(cursor, 7U);
}

TEST(ReadPayloadText, ReplacesInvalidUtf8AsTheSystemDoesAndStillAdvancesByTheBytes) {
  const std::vector<std::string> invalid = {
      "\xFF",
      "\x80",
      "a\xFFz",
      "a\x80\x80z",
      "\xC0\x80",          // Overlong NUL.
      "\xC1\xBF",          // Overlong.
      "\xE0\x80\x80",      // Overlong.
      "\xED\xA0\x80",      // A high surrogate.
      "\xED\xB0\x80",      // A low one.
      "\xF4\x90\x80\x80",  // Beyond the last character.
      "\xF5\x80\x80\x80",
      "a\xC3",          // Cut off after the first of two,
      "a\xE6\xB8",      // two of three,
      "a\xF0\x9F\x8E",  // three of four bytes,
      "a\xE6z",         // and in the middle.
      std::string(1'000, '\xFE'),
  };
  for (const std::string& utf8 : invalid) {
    const std::wstring text = read(utf8);
    EXPECT_EQ(text, systemsReading(utf8));
    EXPECT_NE(text.find(L'\uFFFD'), std::wstring::npos);
    EXPECT_EQ(text[0] == L'a', utf8[0] == 'a');
  }
}

TEST(ReadPayloadText, StaysInsideTheMarginAtTheFurthestCursor) {
  const PayloadWithMargin payload({}, 'm');
  std::uint32_t cursor = 24;
  EXPECT_EQ(ReadPayloadText(payload.get(), cursor, 65'535), std::wstring(65'535, L'm'));
  EXPECT_EQ(ReadPayloadText(payload.get(), cursor, 65'535), std::wstring(65'535, L'm'));
  EXPECT_EQ(cursor, 24U + 2 * 65'535U);
}

TEST(ReadPayloadText, AsksTheSystemForTheSizeAndThenForTheText) {
  const Bytes bytes = {'a', 0xE6, 0xB8, 0xB8};
  const PayloadWithMargin payload(bytes);
  test::ImportHook<decltype(MultiByteToWideChar)> hook("kernel32.dll", "MultiByteToWideChar");
  std::uint32_t cursor = 0;
  EXPECT_EQ(ReadPayloadText(payload.get(), cursor, 4), L"a\u6E38");
  const auto calls = hook.calls();
  ASSERT_EQ(calls.size(), 2U);
  for (const auto& call : calls) {
    EXPECT_EQ(std::get<0>(call), 65001U);
    EXPECT_EQ(std::get<1>(call), 0U);
    EXPECT_EQ(std::get<3>(call), 4);
  }
  EXPECT_EQ(std::get<4>(calls[0]), nullptr);
  EXPECT_EQ(std::get<5>(calls[0]), 0);
  EXPECT_NE(std::get<4>(calls[1]), nullptr);
  EXPECT_EQ(std::get<5>(calls[1]), 2);
}

TEST(ReadPayloadText, IsEmptyWhenTheSystemCannotConvert) {
  const Bytes bytes = {'a', 'b'};
  const PayloadWithMargin payload(bytes);
  for (const std::size_t failing : {1U, 2U}) {
    test::ImportHook<decltype(MultiByteToWideChar)> hook("kernel32.dll", "MultiByteToWideChar");
    hook.failCall(failing, ERROR_INVALID_PARAMETER, 0);
    std::uint32_t cursor = 0;
    EXPECT_EQ(ReadPayloadText(payload.get(), cursor, 2), L"");
    EXPECT_EQ(cursor, 2U);
  }
}

TEST(ToUtf8, ConvertsUtf16UnitForUnit) {
  EXPECT_EQ(toUtf8(L""), "");
  for (const Pair& row : pairs()) EXPECT_EQ(toUtf8(row.wide), row.utf8);
}

TEST(ToUtf8, ReplacesLoneSurrogates) {
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(toUtf8(L"\xD83C"), replacement);
  EXPECT_EQ(toUtf8(L"\xDFAE"), replacement);
  EXPECT_EQ(toUtf8(L"a\xD83Cz"), "a" + replacement + "z");
  EXPECT_EQ(toUtf8(L"a\xDFAEz"), "a" + replacement + "z");
  EXPECT_EQ(toUtf8(L"\xDFAE\xD83C"), replacement + replacement);
  EXPECT_EQ(toUtf8(L"\xD83C\xD83C\xDFAE"), replacement + "\xF0\x9F\x8E\xAE");
}

TEST(ToUtf8, ConvertsTextsOfAnyLength) {
  EXPECT_EQ(toUtf8(std::wstring(100'000, L'\u6E38')).size(), 300'000U);
}

TEST(ToUtf8, AsksTheSystemForTheSizeAndThenForTheTextWithoutDefaultCharacter) {
  test::ImportHook<decltype(WideCharToMultiByte)> hook("kernel32.dll", "WideCharToMultiByte");
  EXPECT_EQ(toUtf8(L"a\u6E38"), "a\xE6\xB8\xB8");
  const auto calls = hook.calls();
  ASSERT_EQ(calls.size(), 2U);
  for (const auto& call : calls) {
    EXPECT_EQ(std::get<0>(call), 65001U);
    EXPECT_EQ(std::get<1>(call), 0U);
    EXPECT_EQ(std::get<3>(call), 2);
    EXPECT_EQ(std::get<6>(call), nullptr);
    EXPECT_EQ(std::get<7>(call), nullptr);
  }
  EXPECT_EQ(std::get<4>(calls[0]), nullptr);
  EXPECT_EQ(std::get<5>(calls[0]), 0);
  EXPECT_NE(std::get<4>(calls[1]), nullptr);
  EXPECT_EQ(std::get<5>(calls[1]), 4);
}

TEST(writeUtf8, WritesWhatUtf8SizeAnnounces) {
  for (const Pair& row : pairs()) {
    std::string utf8(utf8Size(row.wide), '?');
    EXPECT_EQ(writeUtf8(row.wide, utf8.data(), utf8.size()), row.utf8.size());
    EXPECT_EQ(utf8, row.utf8);
  }
}

TEST(writeUtf8, WritesNothingOfATextThatDoesNotFit) {
  char room[] = "??";
  EXPECT_EQ(writeUtf8(L"abc", room, 2), 0U);
  EXPECT_EQ(writeUtf8(L"abc", room, 0), 0U);
  EXPECT_EQ(writeUtf8(L"", nullptr, 0), 0U);
}

TEST(ToUtf8, IsEmptyWhenTheSystemCannotConvert) {
  for (const std::size_t failing : {1U, 2U}) {
    test::ImportHook<decltype(WideCharToMultiByte)> hook("kernel32.dll", "WideCharToMultiByte");
    hook.failCall(failing, ERROR_INVALID_PARAMETER, 0);
    EXPECT_EQ(toUtf8(L"ab"), "");
  }
}

}  // namespace
}  // namespace orva_accelerator::ipc
