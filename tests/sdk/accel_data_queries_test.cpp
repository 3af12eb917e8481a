#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/initialised_kernel.h"
#include "tests/support/kernel_data.h"

namespace orva_accelerator::sdk {
namespace {

using test::setText;
using testing::ElementsAre;

void fill(AccelDataRecord& record) {
  record.value1 = 101;
  record.value2 = 102;
  setText(record.text1, L"first");
  record.value3 = 103;
  setText(record.text2, L"second");
  setText(record.text3, L"third");
  setText(record.text4, L"fourth");
  record.value4 = 104;
  setText(record.text5, L"fifth");
  record.flag = 1;
  record.value5 = 105;
  record.value6 = 106;
  record.value7 = 107;
  record.value8 = 0x1'0000'0108;
  record.value9 = 109;
  record.value10 = 110;
}

class AccelDataQueries : public testing::Test {
 protected:
  AccelDataQueries() {
    kernel.Kernel_GetAccelData = [](AccelDataRecord* record) {
      EXPECT_TRUE(test::isZeroed(record));
      fill(*record);
      return KernelBool{1};
    };
    kernel.Kernel_GetConsoleData = [](ConsoleDataRecord* record) {
      EXPECT_TRUE(test::isZeroed(record));
      *record = {301, 302, 303, 304, 0xFFFFFFFF, 0xFF};
      return KernelBool{1};
    };
  }

  test::InitialisedKernel kernel;
  const AccelSdk& accelSdk = AccelSdk::Instance();
};

TEST_F(AccelDataQueries, TakeOverTheNumbersButValue7) {
  const AccelDataInfo data = accelSdk.GetAccelData();
  EXPECT_EQ(data.value1, 101U);
  EXPECT_EQ(data.value2, 102U);
  EXPECT_EQ(data.value3, 103U);
  EXPECT_EQ(data.value4, 104U);
  EXPECT_EQ(data.value5, 105U);
  EXPECT_EQ(data.value6, 106U);
  EXPECT_EQ(data.value8, 0x1'0000'0108U);
  EXPECT_EQ(data.value9, 109U);
  EXPECT_EQ(data.value10, 110U);
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_GetAccelData()"));
}

TEST_F(AccelDataQueries, TakeOverText3Only) {
  const AccelDataInfo data = accelSdk.GetAccelData();
  EXPECT_EQ(data.text1, L"");
  EXPECT_EQ(data.text2, L"");
  EXPECT_EQ(data.text3, L"third");
  EXPECT_EQ(data.text4, L"");
  EXPECT_EQ(data.text5, L"");
}

TEST_F(AccelDataQueries, EndAnUnterminatedText3WithItsArray) {
  kernel.Kernel_GetAccelData = [](AccelDataRecord* record) {
    fill(*record);
    setText(record->text3, std::wstring(255, L'\u6E38'));
    return KernelBool{1};
  };
  EXPECT_EQ(accelSdk.GetAccelData().text3, std::wstring(255, L'\u6E38'));
}

TEST_F(AccelDataQueries, HandOnTheConsoleRecordAsItIs) {
  const ConsoleDataRecord console = accelSdk.GetConsoleData();
  EXPECT_EQ(console.console1, 301U);
  EXPECT_EQ(console.console2, 302U);
  EXPECT_EQ(console.console3, 303U);
  EXPECT_EQ(console.console4, 304U);
  EXPECT_EQ(console.console5, 0xFFFFFFFFU);
  EXPECT_EQ(console.consoleFlag, 0xFF);
  EXPECT_THAT(kernel.calls(), ElementsAre("Kernel_GetConsoleData()"));
}

// Only the low byte of the register is the result; the library leaves what it likes in the others.
TEST_F(AccelDataQueries, LookAtTheLowByteOfAResultOnly) {
  using WideResult = std::uint32_t (*)(ConsoleDataRecord*);
  const WideResult refuses = [](ConsoleDataRecord* record) -> std::uint32_t {
    record->console1 = 1;
    return 0xABCDEF00;
  };
  kernelFunctions.set(static_cast<std::size_t>(KernelFunction::Kernel_GetConsoleData),
                      reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(refuses)));
  EXPECT_EQ(accelSdk.GetConsoleData().console1, 0U);
}

}  // namespace
}  // namespace orva_accelerator::sdk
