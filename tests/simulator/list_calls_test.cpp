// List functions whose two calls do not agree.

#include "tests/simulator/simulator_queries.h"

namespace orva_accelerator::test {
namespace {

class SimulatorLists : public SimulatorQueries {
 protected:
  sdk::KernelBool usedNodesCall(sdk::UsedNodeRecord* records, std::uint32_t& count) const {
    return get<sdk::signature::Kernel_GetGameUsedNodeDataList>("Kernel_GetGameUsedNodeDataList")(
        1001, records, &count);
  }
};

TEST_F(SimulatorLists, ReportAnyCountWhenCounting) {
  loadWith(R"({"functions": {"Kernel_GetGameUsedNodeDataList": [
    {"countingCall": {"count": 4294967295}}, {"countingCall": {"count": 0}},
    {"countingCall": {"refuse": true}}]}})");
  std::uint32_t count = 0;
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 0xFFFFFFFFU);
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(usedNodesCall(nullptr, count), 0);
  EXPECT_EQ(count, 2U);
}

TEST_F(SimulatorLists, ShrinkBetweenTheCalls) {
  loadWith(R"({"functions": {"Kernel_GetGameUsedNodeDataList": {"fillingCall": {"count": 1}}}})");
  std::uint32_t count = 0;
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 2U);
  std::vector<sdk::UsedNodeRecord> records(2);
  EXPECT_EQ(usedNodesCall(records.data(), count), 1);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(records[0].used1, 101U);
  EXPECT_EQ(records[1].used1, 0U);
}

TEST_F(SimulatorLists, GrowBetweenTheCallsWithoutWritingBeyondTheArray) {
  loadWith(R"({"functions": {"Kernel_GetGameUsedNodeDataList": {
    "countingCall": {"count": 1}, "fillingCall": {"count": 500}}}})");
  std::uint32_t count = 0;
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 1U);
  std::vector<sdk::UsedNodeRecord> records(2);
  EXPECT_EQ(usedNodesCall(records.data(), count), 1);
  EXPECT_EQ(count, 500U);
  EXPECT_EQ(records[0].used1, 101U);
  EXPECT_EQ(records[1].used1, 0U);
}

TEST_F(SimulatorLists, RefuseTheFillingCallOnly) {
  loadWith(
      R"({"functions": {"Kernel_GetGameUsedNodeDataList": {"fillingCall": {"refuse": true}}}})");
  std::uint32_t count = 0;
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  std::vector<sdk::UsedNodeRecord> records(count);
  EXPECT_EQ(usedNodesCall(records.data(), count), 0);
}

TEST_F(SimulatorLists, KeepOneBehaviourForBothCalls) {
  loadWith(R"({"functions": {"Kernel_GetGameUsedNodeDataList": [
    {"fillingCall": {"count": 1}}, {}]}})");
  std::uint32_t count = 0;
  std::vector<sdk::UsedNodeRecord> records(2);
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(usedNodesCall(records.data(), count), 1);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(usedNodesCall(nullptr, count), 1);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(usedNodesCall(records.data(), count), 1);
  EXPECT_EQ(count, 2U);
}

}  // namespace
}  // namespace orva_accelerator::test
