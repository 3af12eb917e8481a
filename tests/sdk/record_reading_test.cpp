#include "sdk/record_reading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>

#include "tests/support/kernel_data.h"

namespace orva_accelerator::sdk {
namespace {

TEST(TextOf, EndsAtTheFirstNul) {
  const wchar_t units[8] = {L'a', L'b', 0, L'c', 0, 0, 0, L'd'};
  EXPECT_EQ(textOf(units), L"ab");
}

TEST(TextOf, IsEmptyWhenTheFirstUnitIsNul) {
  const wchar_t units[4] = {0, L'b', L'c', L'd'};
  EXPECT_EQ(textOf(units), L"");
}

// On the guarded heap the array ends where memory does.
TEST(TextOf, EndsWithAnArrayThatIsNotTerminated) {
  using Array = wchar_t[8];
  const std::unique_ptr<Array[]> arrays(new Array[1]);
  std::fill_n(arrays[0], 8, L'\u6E38');
  EXPECT_EQ(textOf(arrays[0]), std::wstring(8, L'\u6E38'));
}

// Longer than what is looked at in one go, and no multiple of it.
TEST(TextOf, EndsAtAFirstNulInAnyPlace) {
  for (std::size_t length = 0; length <= 41; ++length) {
    wchar_t units[41];
    std::fill_n(units, 41, L'x');
    std::fill_n(units, length, L'\u6E38');
    if (length < 41) units[length] = 0;
    EXPECT_EQ(textOf(units), std::wstring(length, L'\u6E38')) << length;
  }
}

TEST(TextOf, TakesUnitsAsTheyAre) {
  const wchar_t units[4] = {0xD800, 0xFFFF, 0x0001, 0};
  EXPECT_EQ(textOf(units), (std::wstring{wchar_t{0xD800}, wchar_t{0xFFFF}, wchar_t{1}}));
}

using test::ScriptedList;

TestSpeedEntry entry(std::uint32_t number) {
  return {{number, number + 1, number + 2, number + 3}};
}

std::vector<std::uint32_t> firstWords(const std::vector<TestSpeedEntry>& entries) {
  std::vector<std::uint32_t> words;
  for (const TestSpeedEntry& entry : entries) words.push_back(entry.words[0]);
  return words;
}

std::vector<std::uint32_t> fetched(const ScriptedList<TestSpeedEntry>& list) {
  return firstWords(fetchRecords<TestSpeedEntry>(list));
}

TEST(FetchRecords, KeepsTheLibrarysOrder) {
  EXPECT_THAT(fetched({.records = {entry(30), entry(10), entry(20)}}),
              testing::ElementsAre(30, 10, 20));
}

TEST(FetchRecords, CallsTwiceAndNotMore) {
  int calls = 0;
  (void)fetchRecords<TestSpeedEntry>([&](TestSpeedEntry* entries, std::uint32_t* count) {
    ++calls;
    EXPECT_EQ(entries == nullptr, calls == 1);
    *count = 1;
    return KernelBool{1};
  });
  EXPECT_EQ(calls, 2);
}

TEST(FetchRecords, DoesNotAskAgainWhenThereAreNone) {
  int calls = 0;
  EXPECT_TRUE(fetchRecords<TestSpeedEntry>([&](TestSpeedEntry*, std::uint32_t* count) {
                ++calls;
                *count = 0;
                return KernelBool{1};
              }).empty());
  EXPECT_EQ(calls, 1);
}

TEST(FetchRecords, IsEmptyWhenCountingIsRefused) {
  EXPECT_THAT(fetched({.records = {entry(1)}, .refusesFirst = true}), testing::IsEmpty());
}

TEST(FetchRecords, IsEmptyWhenFillingIsRefused) {
  EXPECT_THAT(fetched({.records = {entry(1)}, .refusesSecond = true}), testing::IsEmpty());
}

TEST(FetchRecords, IsEmptyWhenNothingWasWritten) {
  EXPECT_THAT(fetched({.records = {entry(1)}, .claimed = 0}), testing::IsEmpty());
}

TEST(FetchRecords, KeepsOnlyWhatWasWritten) {
  EXPECT_THAT(fetched({.records = {entry(1), entry(2)}, .announced = 4}),
              testing::ElementsAre(1, 2));
}

TEST(FetchRecords, IgnoresWhatIsClaimedBeyondTheArray) {
  EXPECT_THAT(fetched({.records = {entry(1), entry(2), entry(3)}, .announced = 2, .claimed = 3}),
              testing::ElementsAre(1, 2));
  EXPECT_THAT(fetched({.records = {entry(1)}, .claimed = 0xFFFFFFFF}), testing::ElementsAre(1));
}

TEST(FetchRecords, GivesZeroedRecordsThatWereClaimedButNotWritten) {
  EXPECT_THAT(fetched({.records = {entry(1)}, .announced = 3, .claimed = 3}),
              testing::ElementsAre(1, 0, 0));
}

// Nothing catches it: the process ends, as it does whenever memory runs out.
TEST(FetchRecords, ThrowsWhenThereIsNoMemoryForTheCount) {
  const ScriptedList<UsedNodeRecord> list = {.records = {}, .announced = 0xFFFFFFFF};
  EXPECT_THROW((void)fetchRecords<UsedNodeRecord>(list), std::bad_alloc);
}

}  // namespace
}  // namespace orva_accelerator::sdk
