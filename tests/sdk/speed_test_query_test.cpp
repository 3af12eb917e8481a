#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/initialised_kernel.h"
#include "tests/support/kernel_data.h"

namespace orva_accelerator::sdk {
namespace {

using test::ScriptedList;
using testing::ElementsAre;

class SpeedTestQuery : public testing::Test {
 protected:
  void answer(std::int32_t summary1, ScriptedList<TestSpeedEntry> entries) {
    kernel.Kernel_GetTestSpeedData_V2 = [=](std::uint32_t, std::uint32_t, const wchar_t*,
                                            std::uint32_t, TestSpeedSummary* summary,
                                            TestSpeedEntry* array, std::uint32_t* count) {
      if (array == nullptr) {
        EXPECT_TRUE(test::isZeroed(summary));
      }
      for (std::uint32_t i = 0; i < 14; ++i) summary->summary[i] = 201 + i;
      summary->summary[0] = static_cast<std::uint32_t>(summary1);
      return entries(array, count);
    };
  }

  std::optional<TestSpeedData> query() const {
    return accelSdk.GetTestSpeedData(1001, 2, L"asia-1", 1);
  }

  test::InitialisedKernel kernel;
  const AccelSdk& accelSdk = AccelSdk::Instance();
  const std::vector<TestSpeedEntry> two = {{{1, 2, 3, 4}}, {{5, 6, 7, 8}}};
};

TEST_F(SpeedTestQuery, HandsOutSummaryAndEntries) {
  answer(1, {.records = two});
  const std::optional<TestSpeedData> data = query();
  ASSERT_TRUE(data);
  EXPECT_THAT(data->summary.summary,
              ElementsAre(1, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212, 213, 214));
  ASSERT_EQ(data->entries.size(), 2U);
  EXPECT_THAT(data->entries[0].words, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(data->entries[1].words, ElementsAre(5, 6, 7, 8));
}

TEST_F(SpeedTestQuery, TakesTheSummaryAsTheTwoCallsLeaveIt) {
  for (const bool whileCounting : {true, false}) {
    kernel.Kernel_GetTestSpeedData_V2 = [&](auto, auto, auto, auto, TestSpeedSummary* summary,
                                            TestSpeedEntry* array, std::uint32_t* count) {
      if (whileCounting == (array == nullptr)) summary->summary[0] = 5;
      return ScriptedList<TestSpeedEntry>{.records = two}(array, count);
    };
    const std::optional<TestSpeedData> data = query();
    ASSERT_TRUE(data) << whileCounting;
    EXPECT_EQ(data->summary.summary[0], 5U);
  }
}

TEST_F(SpeedTestQuery, PassesOnItsArguments) {
  answer(1, {.records = two});
  (void)accelSdk.GetTestSpeedData(1002, 0xFFFFFFFF, L"上海电信", 3);
  EXPECT_THAT(
      kernel.calls(),
      ElementsAre("Kernel_GetTestSpeedData_V2(1002, 4294967295, \"上海电信\", 3, null, 0)",
                  "Kernel_GetTestSpeedData_V2(1002, 4294967295, \"上海电信\", 3, array, 2)"));
}

TEST_F(SpeedTestQuery, PassesOnAnEmptyKey) {
  (void)accelSdk.GetTestSpeedData(1, 2, L"", 3);
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_GetTestSpeedData_V2(1, 2, \"\", 3, null, 0)"));
}

TEST_F(SpeedTestQuery, KeepsOnlyTheEntriesThatTheSecondCallReports) {
  answer(1, {.records = two, .announced = 4});
  const std::optional<TestSpeedData> data = query();
  ASSERT_TRUE(data);
  EXPECT_EQ(data->entries.size(), 2U);
}

TEST_F(SpeedTestQuery, KeepsNoEntryBeyondItsArray) {
  answer(1, {.records = two, .claimed = 1000});
  const std::optional<TestSpeedData> data = query();
  ASSERT_TRUE(data);
  EXPECT_EQ(data->entries.size(), 2U);
}

TEST_F(SpeedTestQuery, FailsWhenTheFirstWordIsZeroOrNegative) {
  for (const std::int32_t summary1 : {0, -1, -5, INT32_MIN}) {
    answer(summary1, {.records = two});
    EXPECT_FALSE(query()) << summary1;
  }
}

TEST_F(SpeedTestQuery, SucceedsWithTheLargestFirstWord) {
  answer(INT32_MAX, {.records = two});
  EXPECT_TRUE(query());
}

TEST_F(SpeedTestQuery, FailsWithoutEntries) {
  answer(1, {.records = {}});
  EXPECT_FALSE(query());
  answer(1, {.records = two, .claimed = 0});
  EXPECT_FALSE(query());
}

TEST_F(SpeedTestQuery, FailsWhenEitherCallIsRefused) {
  answer(1, {.records = two, .refusesFirst = true});
  EXPECT_FALSE(query());
  answer(1, {.records = two, .refusesSecond = true});
  EXPECT_FALSE(query());
}

}  // namespace
}  // namespace orva_accelerator::sdk
