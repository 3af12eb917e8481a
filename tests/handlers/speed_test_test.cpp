#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/handlers/query_fixture.h"
#include "tests/support/kernel_data.h"

namespace orva_accelerator::ipc {
namespace {

using test::answerTo;
using test::Bytes;
using test::goldenResponse;
using test::goldenVector;
using test::isPayload;
using test::ScriptedList;
using testing::Each;
using testing::StartsWith;

class GetTestSpeedData : public test::QueryTest {
 protected:
  GetTestSpeedData() { script(1, {.records = three}); }

  // The summary is that of the golden vector but for its first word.
  void script(std::int32_t summary1, ScriptedList<sdk::TestSpeedEntry> entries) {
    kernel.Kernel_GetTestSpeedData_V2 = [=](std::uint32_t, std::uint32_t, const wchar_t*,
                                            std::uint32_t, sdk::TestSpeedSummary* summary,
                                            sdk::TestSpeedEntry* array, std::uint32_t* count) {
      for (std::uint32_t i = 0; i < 13; ++i) summary->summary[i] = 201 + i;
      summary->summary[0] = static_cast<std::uint32_t>(summary1);
      summary->summary[13] = 0xFFFFFFFF;
      return entries(array, count);
    };
  }

  Bytes answer(std::string_view request = "get_test_speed_data") const {
    return answerTo(goldenVector("requests.json", request));
  }

  const std::vector<sdk::TestSpeedEntry> three = {
      {{1, 2, 3, 4}}, {{5, 6, 7, 8}}, {{9, 10, 11, 12}}};
};

TEST_F(GetTestSpeedData, SendsTheSummaryAndNothingOfTheEntries) {
  EXPECT_TRUE(isPayload(goldenResponse("get_test_speed_data"), answer()));
}

TEST_F(GetTestSpeedData, PassesOnTheRequest) {
  (void)answer();
  EXPECT_THAT(kernel.calls(),
              Each(StartsWith("Kernel_GetTestSpeedData_V2(1001, 2, \"asia-1\", 1, ")));
  kernel.clearCalls();
  (void)answer("get_test_speed_data_chinese_key");
  EXPECT_THAT(kernel.calls(),
              Each(StartsWith("Kernel_GetTestSpeedData_V2(1002, 3, \"上海电信\", 4294967295, ")));
  EXPECT_EQ(kernel.calls().size(), 2U);
}

TEST_F(GetTestSpeedData, PassesOnAnEmptyKey) {
  (void)answer("get_test_speed_data_empty_key");
  EXPECT_THAT(kernel.calls(), Each(StartsWith("Kernel_GetTestSpeedData_V2(1, 2, \"\", 3, ")));
  EXPECT_EQ(kernel.calls().size(), 2U);
}

TEST_F(GetTestSpeedData, Is60ZerosWithoutEntries) {
  script(1, {.records = {}});
  EXPECT_TRUE(isPayload(goldenResponse("get_test_speed_data_failed"), answer()));
  script(1, {.records = three, .claimed = 0});
  EXPECT_TRUE(isPayload(goldenResponse("get_test_speed_data_failed"), answer()));
}

}  // namespace
}  // namespace orva_accelerator::ipc
