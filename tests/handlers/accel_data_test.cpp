#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/handlers/query_fixture.h"
#include "tests/support/kernel_data.h"

namespace orva_accelerator::ipc {
namespace {

using sdk::KernelBool;
using test::answerTo;
using test::Bytes;
using test::goldenResponse;
using test::goldenVector;
using test::isPayload;

// The values of the golden vectors, and others where nothing is sent.
sdk::AccelDataRecord sampleRecord(std::wstring_view text3) {
  sdk::AccelDataRecord record = {};
  record.value1 = 101;
  record.value2 = 102;
  test::setText(record.text1, L"not sent");
  record.value3 = 103;
  test::setText(record.text2, L"not sent");
  test::setText(record.text3, text3);
  test::setText(record.text4, L"not sent");
  record.value4 = 104;
  test::setText(record.text5, L"not sent");
  record.flag = 0xEE;
  record.value5 = 105;
  record.value6 = 106;
  record.value7 = 0xEEEEEEEE;
  record.value8 = 108;
  record.value9 = 109;
  record.value10 = 110;
  return record;
}

class GetAccelData : public test::QueryTest {
 protected:
  Bytes answerFor(const sdk::AccelDataRecord& record, bool accepts = true) {
    kernel.Kernel_GetAccelData = [=](sdk::AccelDataRecord* out) {
      *out = record;
      return static_cast<KernelBool>(accepts ? 1 : 0);
    };
    return answerTo(goldenVector("requests.json", "get_accel_data"));
  }
};

TEST_F(GetAccelData, PutsTheValuesInTheProtocolsOrder) {
  EXPECT_TRUE(isPayload(goldenResponse("get_accel_data"), answerFor(sampleRecord(L"node-11"))));
}

TEST_F(GetAccelData, CountsTheBytesOfItsText) {
  EXPECT_TRUE(isPayload(goldenResponse("get_accel_data_chinese_text"),
                        answerFor(sampleRecord(L"上海节点"))));
}

TEST_F(GetAccelData, EndsWithItsFixedPartWhenTheTextIsEmpty) {
  EXPECT_TRUE(isPayload(goldenResponse("get_accel_data_empty_text"), answerFor(sampleRecord(L""))));
}

// 255 units of 3 bytes fill the array, so that nothing terminates it.
TEST_F(GetAccelData, Has813BytesForTheLongestText) {
  const Bytes answer = answerFor(sampleRecord(std::wstring(255, L'游')));
  EXPECT_EQ(answer.size(), 813U);
  EXPECT_TRUE(isPayload(goldenResponse("get_accel_data_longest_text"), answer));
}

TEST_F(GetAccelData, CarriesAllOfALargeValue8) {
  sdk::AccelDataRecord record = sampleRecord(L"");
  record.value8 = 0x12'3456'789A;
  record.flag = 0;  // Whatever it says.
  EXPECT_TRUE(isPayload(goldenResponse("get_accel_data_large_value8"), answerFor(record)));
}

TEST_F(GetAccelData, CarriesTheLargestValues) {
  sdk::AccelDataRecord record = sampleRecord(L"");
  record.value1 = record.value2 = record.value3 = record.value4 = record.value5 = record.value6 =
      record.value9 = record.value10 = 0xFFFFFFFF;
  record.value8 = 0x1F'FFFF'FFFF'FFFF;
  EXPECT_TRUE(isPayload(goldenResponse("get_accel_data_largest_values"), answerFor(record)));
}

// Half of a surrogate pair has no UTF-8; each half becomes U+FFFD, 3 bytes like any other unit, so
// that no text can outgrow its length field.
TEST_F(GetAccelData, ReplacesHalvesOfSurrogatePairs) {
  const Bytes answer = answerFor(sampleRecord(std::wstring(255, wchar_t{0xD800})));
  ASSERT_EQ(answer.size(), 813U);
  EXPECT_EQ(test::hexFromBytes(std::span(answer).last(6)), "EF BF BD EF BF BD");
}

class GetConsoleData : public test::QueryTest {
 protected:
  Bytes answerFor(const sdk::ConsoleDataRecord& record, bool accepts = true) {
    kernel.Kernel_GetConsoleData = [=](sdk::ConsoleDataRecord* out) {
      *out = record;
      return static_cast<KernelBool>(accepts ? 1 : 0);
    };
    return answerTo(goldenVector("requests.json", "get_console_data"));
  }
};

TEST_F(GetConsoleData, CarriesAllValues) {
  EXPECT_TRUE(
      isPayload(goldenResponse("get_console_data"), answerFor({301, 302, 303, 304, ~0U, 1})));
}

TEST_F(GetConsoleData, AnswersOneForAnyFlagButZero) {
  EXPECT_TRUE(
      isPayload(goldenResponse("get_console_data"), answerFor({301, 302, 303, 304, ~0U, 0xFF})));
  EXPECT_TRUE(
      isPayload(goldenResponse("get_console_data_flag_clear"), answerFor({1, 2, 3, 4, 5, 0})));
}

}  // namespace
}  // namespace orva_accelerator::ipc
