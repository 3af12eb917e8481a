// load against a service that answers, and one that does not.
#include <gtest/gtest.h>

#include "tests/tools/orvactl_process.h"

namespace orva_accelerator::test {
namespace {

class OrvactlLoad : public testing::Test {
 protected:
  OrvactlResult run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "load");
    return runOrvactlDev(asClientOf(service_, std::move(arguments)));
  }

  FakeService service_;
};

TEST_F(OrvactlLoad, CountsAnswersAndLatencies) {
  service_.answerWith("heartbeat");
  const auto result = run({"--connections", "2", "--seconds", "0.3", "--json"});
  EXPECT_EQ(result.exitCode, 0u) << result.err;
  const auto lines = result.jsonLines();
  ASSERT_EQ(lines.size(), 1u);
  const auto& load = lines.front();
  EXPECT_EQ(load.at("connections"), 2);
  EXPECT_EQ(load.at("failedConnections"), 0);
  EXPECT_EQ(load.at("type"), 0xFFFF);
  EXPECT_EQ(load.at("interrupted"), false);
  EXPECT_EQ(load.at("count"), service_.countOf(0xFFFF));
  EXPECT_GT(load.at("count"), 0);
  EXPECT_GE(load.at("elapsedMs"), 300);
  EXPECT_GT(load.at("perSecond"), 0.0);
  EXPECT_LE(load.at("p50Us"), load.at("p90Us"));
  EXPECT_LE(load.at("p90Us"), load.at("p99Us"));
  EXPECT_LE(load.at("p99Us"), load.at("maxUs"));
}

TEST_F(OrvactlLoad, SendsTheTypeAndThePayload) {
  service_.answerWith("get_console_data");
  const auto result =
      run({"--connections", "1", "--seconds", "0.05", "--type", "0x604", "--payload", "5"});
  EXPECT_EQ(result.exitCode, 0u) << result.err;
  ASSERT_FALSE(service_.requests().empty());
  const Bytes request = service_.requests().front();
  EXPECT_EQ(request.size(), 24u + 5u);
  EXPECT_EQ(service_.countOf(0x604), service_.requests().size());
  EXPECT_NE(result.out.find("p99Us"), std::string::npos) << result.out;
}

TEST_F(OrvactlLoad, ShowsItsProgressOnTheErrorOutput) {
  service_.answerWith("heartbeat");
  const auto result = run({"--connections", "1", "--seconds", "1.3"});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_NE(result.err.find(" answers, "), std::string::npos) << result.err;
}

TEST_F(OrvactlLoad, EndsWhenEveryConnectionHasFailed) {
  service_.answer(0xFFFF, {});
  const auto result = run({"--connections", "2", "--seconds", "3600", "--timeout", "50ms"});
  EXPECT_EQ(result.exitCode, 4u);
  EXPECT_EQ(result.out, "");
}

TEST_F(OrvactlLoad, IsTwoBeyondItsBounds) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"--connections", "0"},
                                             {"--connections", "257"},
                                             {"--payload", "1048577"},
                                             {"--seconds", "0"}}) {
    EXPECT_EQ(run(arguments).exitCode, 2u);
  }
}

}  // namespace
}  // namespace orva_accelerator::test
