#include "sdk/list_fetch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "tests/support/kernel_data.h"

namespace orva_accelerator::sdk {
namespace {

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
