// The figures of an acceleration and of the console: by default, and as a scenario has them.

#include <algorithm>

#include "tests/simulator/simulator_queries.h"
#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

TEST_F(SimulatorQueries, SetupIsAccepted) {
  load();
  EXPECT_EQ(get<sdk::signature::Kernel_Init>("Kernel_Init")(L"C:\\Orva\\a.exe"), 1);
  EXPECT_EQ(
      get<sdk::signature::Kernel_SetSdkChannelNumber>("Kernel_SetSdkChannelNumber")(2, 3, L"渠道"),
      1);
}

TEST_F(SimulatorQueries, AccelDataIsEmptyUntilSomethingIsStarted) {
  load();
  alignas(8) const sdk::AccelDataRecord record = accelData();
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
  EXPECT_TRUE(std::all_of(bytes, bytes + sizeof record, [](std::uint8_t b) { return b == 0; }));
}

TEST_F(SimulatorQueries, AccelDataMovesWhileAcceleratingAndIsEmptyAfterAStop) {
  load();
  ReceivedResults& received = newResults();
  EXPECT_EQ(get<sdk::signature::Kernel_StartAccel>("Kernel_StartAccel")(
                &received, 1002, 11, L"EU-Central", 1, L"", 3, &receiveResult),
            1);
  ASSERT_TRUE(received.waitFor(4));
  alignas(8) const sdk::AccelDataRecord first = accelData();
  EXPECT_EQ(first.value1, 4U);
  EXPECT_EQ(first.value2, 1002U);
  EXPECT_EQ(std::uint32_t{first.value3}, 11U);
  EXPECT_EQ(first.value4, 202U);
  EXPECT_EQ(std::uint32_t{first.value7}, 3U);
  EXPECT_EQ(first.flag, 1);
  EXPECT_EQ(textOf(first.text1), L"Frostholm Online");
  EXPECT_EQ(textOf(first.text2), L"Europe Central");
  EXPECT_EQ(textOf(first.text3), L"Frankfurt 01");
  EXPECT_EQ(textOf(first.text4), L"自动");
  EXPECT_EQ(textOf(first.text5), L"192.168.1.1");
  const std::uint64_t bytes = first.value8;
  EXPECT_TRUE(waitUntil([&] { return accelData().value8 > bytes; }));
  EXPECT_TRUE(waitUntil([&] { return accelData().value5 != first.value5; }));
  ReceivedCodes& stopped = newCodes();
  EXPECT_EQ(get<sdk::signature::Kernel_StopAccel>("Kernel_StopAccel")(&stopped, &receiveCode), 1);
  EXPECT_EQ(accelData().value1, 0U);
  EXPECT_EQ(accelData().flag, 0);
}

TEST_F(SimulatorQueries, AccelDataFollowsTheScenario) {
  loadWith(R"({"catalogue": {"accelData": {
    "value1": 1, "value2": 2, "value3": 3, "value4": 4, "value5": 5, "value6": 6, "value7": 7,
    "value8": 4294967297, "value9": 9, "value10": -1, "flag": 255,
    "text1": "一", "text2": "", "text3": {"repeat": "中", "times": 255}, "text4": "四",
    "text5": {"repeat": "长", "times": 254}}}})");
  alignas(8) const sdk::AccelDataRecord record = accelData();
  EXPECT_EQ(record.value1, 1U);
  EXPECT_EQ(record.value2, 2U);
  EXPECT_EQ(std::uint32_t{record.value3}, 3U);
  EXPECT_EQ(record.value4, 4U);
  EXPECT_EQ(std::uint32_t{record.value5}, 5U);
  EXPECT_EQ(std::uint32_t{record.value6}, 6U);
  EXPECT_EQ(std::uint32_t{record.value7}, 7U);
  EXPECT_EQ(std::uint64_t{record.value8}, 4294967297U);
  EXPECT_EQ(std::uint32_t{record.value9}, 9U);
  EXPECT_EQ(std::uint32_t{record.value10}, 0xFFFFFFFFU);
  EXPECT_EQ(record.flag, 255);
  EXPECT_EQ(textOf(record.text1), L"一");
  EXPECT_EQ(textOf(record.text2), L"");
  EXPECT_EQ(textOf(record.text3), std::wstring(255, L'中'));  // The array is full: no terminator.
  EXPECT_EQ(textOf(record.text4), L"四");
  EXPECT_EQ(textOf(record.text5), std::wstring(254, L'长'));
}

TEST_F(SimulatorQueries, RefusedAccelDataLeavesDataBehind) {
  loadWith(R"({"functions": {"Kernel_GetAccelData": {"refuse": true}},
               "catalogue": {"accelData": {"value1": 77}}})");
  alignas(8) sdk::AccelDataRecord record{};
  EXPECT_EQ(get<sdk::signature::Kernel_GetAccelData>("Kernel_GetAccelData")(&record), 0);
  EXPECT_EQ(record.value1, 77U);
}

TEST_F(SimulatorQueries, ConsoleDataIsFixedByDefault) {
  load();
  sdk::ConsoleDataRecord record{};
  EXPECT_EQ(get<sdk::signature::Kernel_GetConsoleData>("Kernel_GetConsoleData")(&record), 1);
  EXPECT_EQ(record.console1, 1U);
  EXPECT_EQ(record.console2, 2U);
  EXPECT_EQ(record.console3, 0xC0A80117U);
  EXPECT_EQ(record.console4, 7850U);
  EXPECT_EQ(record.console5, 3U);
  EXPECT_EQ(record.consoleFlag, 1);
}

TEST_F(SimulatorQueries, ConsoleDataFollowsTheScenario) {
  loadWith(R"({"catalogue": {"consoleData": {"console2": 22, "consoleFlag": 255}}})");
  sdk::ConsoleDataRecord record{};
  EXPECT_EQ(get<sdk::signature::Kernel_GetConsoleData>("Kernel_GetConsoleData")(&record), 1);
  EXPECT_EQ(record.console1, 1U);
  EXPECT_EQ(record.console2, 22U);
  EXPECT_EQ(record.consoleFlag, 255);
}

}  // namespace
}  // namespace orva_accelerator::test
