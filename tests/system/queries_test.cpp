// The six queries, asked of the installed service in every state of its binding.
#include <gmock/gmock.h>

#include "ipc/wire/pipe_names.h"
#include "tests/support/golden_vectors.h"
#include "tests/support/raw_pipe_client.h"
#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

// The library reports what the golden vectors carry, and other things where nothing is sent.
constexpr std::string_view kScenario = R"({
  "catalogue": {
    "replace": true,
    "games": [{
      "gameId": 1001, "number": 4711, "text": "Star Arena",
      "lastAccel": {"areaId": 2, "infoText": "mode-2", "serverKey": "asia-1", "nodeId": 11,
                    "infoFlag": 255, "infoValue": 86},
      "servers": [
        {"areaId": 1, "key": "asia-1", "text": "of another area"},
        {"areaId": 2, "key": "ASIA-1", "text": "of another letter case"},
        {"areaId": 2, "key": "asia-1", "text": "Asia 1",
         "nodes": [{"nodeId": 12, "text": "other", "value1": 1, "value2": 2, "value3": 3},
                   {"nodeId": 11, "text": "Node 11", "value1": 38, "value2": 3, "value3": 9},
                   {"nodeId": 11, "text": "second", "value1": 4, "value2": 5, "value3": 6}],
         "speedTest": {"summary": [1, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212, 213, -1],
                       "entries": [[1, 2, 3, 4], [5, 6, 7, 8], [9, 10, 11, 12]]}},
        {"areaId": 2, "key": "asia-1", "text": "second"}],
      "usedNodes": [
        {"used1": 11, "used2": 2, "text1": "asia-1", "used3": 38, "text2": "Node 11",
         "used4": 1761661963614},
        {"used1": 21, "used2": 3, "text1": "上海电信", "used3": 41, "text2": "上海节点21",
         "used4": 7}]
    }],
    "accelData": {"value1": 101, "value2": 102, "text1": "not sent", "value3": 103,
                  "text2": "not sent", "text3": "node-11", "text4": "not sent", "value4": 104,
                  "text5": "not sent", "flag": 1, "value5": 105, "value6": 106, "value7": 107,
                  "value8": 108, "value9": 109, "value10": 110},
    "consoleData": {"console1": 301, "console2": 302, "console3": 303, "console4": 304,
                    "console5": 4294967295, "consoleFlag": 255}
  }
})";

class QueriedService : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    if (HasFatalFailure()) return;
    simulator().writeScenario(kScenario);
    ASSERT_TRUE(startHostApplication());
    ASSERT_TRUE(installAndStart());
    ASSERT_EQ(client.open(ipc::kRequestPipeName), 0U);
  }
  void TearDown() override {
    client.close();
    if (isRunning()) {
      EXPECT_TRUE(stop());
    }
  }

  // Header and payload as a client sends them; the whole answer, or a difference to it.
  testing::AssertionResult answers(std::string_view request, std::string_view response) {
    const GoldenVector& sent = goldenVector("requests.json", request);
    const GoldenVector& expected = goldenVector("responses.json", response);
    if (!client.write(sent.bytes).done()) return testing::AssertionFailure() << "not written";
    Bytes actual = client.readBytes(8);
    if (actual.size() == 8) {
      const std::size_t length = actual[4] + actual[5] * 256U;
      const Bytes payload = client.readBytes(length);
      actual.insert(actual.end(), payload.begin(), payload.end());
    }
    return isMessage(expected, actual);
  }

  RawPipeClient client;
};

struct Query {
  const char* request;
  const char* whileInitialised;
  const char* beforeInit;
  const char* afterRelease;
};

std::string nameOf(const testing::TestParamInfo<Query>& query) {
  return query.param.request;
}

class QueriedServiceByType : public QueriedService, public testing::WithParamInterface<Query> {};

TEST_P(QueriedServiceByType, AnswersBeforeInitAfterItAfterReleaseAndAfterASecondInit) {
  const Query& query = GetParam();
  EXPECT_TRUE(answers(query.request, query.beforeInit));
  EXPECT_THAT(simulator().logLines(), testing::IsEmpty());
  ASSERT_TRUE(answers("sdk_init", "sdk_init_initialised"));
  EXPECT_TRUE(answers(query.request, query.whileInitialised));
  ASSERT_TRUE(answers("sdk_release", "sdk_release"));
  EXPECT_TRUE(answers(query.request, query.afterRelease));
  ASSERT_TRUE(answers("sdk_init", "sdk_init_initialised"));
  EXPECT_TRUE(answers(query.request, query.whileInitialised));
}

INSTANTIATE_TEST_SUITE_P(
    Queries, QueriedServiceByType,
    testing::Values(Query{"get_accel_data", "get_accel_data", "get_accel_data_failed",
                          "get_accel_data_failed"},
                    Query{"get_game_last_accel_info", "get_game_last_accel_info",
                          "get_game_last_accel_info_failed", "get_game_last_accel_info_failed"},
                    Query{"get_game_accel_info", "get_game_accel_info",
                          "get_game_accel_info_failed", "get_game_accel_info_failed"},
                    Query{"get_test_speed_data", "get_test_speed_data",
                          "get_test_speed_data_failed", "get_test_speed_data_failed"},
                    Query{"get_console_data", "get_console_data", "get_console_data_failed",
                          "get_console_data_failed"},
                    // The one that answers whenever the library is there.
                    Query{"get_game_used_node_list", "get_game_used_node_list_two",
                          "get_game_used_node_list_none", "get_game_used_node_list_two"}),
    nameOf);

TEST_F(QueriedService, SendsTheLongestTextThatTheLibraryDoesNotTerminate) {
  ASSERT_TRUE(answers("sdk_init", "sdk_init_initialised"));
  simulator().writeScenario(R"({"catalogue": {"accelData": {
      "value1": 101, "value2": 102, "value3": 103, "text3": {"repeat": "游", "times": 255},
      "text4": "not sent", "value4": 104, "value5": 105, "value6": 106, "value8": 108,
      "value9": 109, "value10": 110}}})");
  EXPECT_TRUE(answers("get_accel_data", "get_accel_data_longest_text"));
}

TEST_F(QueriedService, OutlivesAListThatGrowsBetweenTheLibrarysTwoCalls) {
  ASSERT_TRUE(answers("sdk_init", "sdk_init_initialised"));
  std::string scenario(kScenario);
  scenario.insert(1, R"("functions": {
      "Kernel_GetGameUsedNodeDataList": {"fillingCall": {"count": 4294967295}},
      "Kernel_GetTestSpeedData_V2": {"fillingCall": {"count": 1000000}}},)");
  simulator().writeScenario(scenario);
  EXPECT_TRUE(answers("get_game_used_node_list", "get_game_used_node_list_two"));
  EXPECT_TRUE(answers("get_test_speed_data", "get_test_speed_data"));
  EXPECT_TRUE(isRunning());
}

// Running out of memory is not caught anywhere.
TEST_F(QueriedService, EndsWhenTheLibraryAnnouncesMoreThanMemoryHolds) {
  constexpr DWORD kTerminated = 3;
  ASSERT_TRUE(answers("sdk_init", "sdk_init_initialised"));
  simulator().writeScenario(R"({"functions": {
      "Kernel_GetGameUsedNodeDataList": {"countingCall": {"count": 4294967295}}}})");
  ASSERT_TRUE(client.write(goldenVector("requests.json", "get_game_used_node_list").bytes).done());
  EXPECT_EQ(waitForEnd(), kTerminated);
}

}  // namespace
}  // namespace orva_accelerator::test
