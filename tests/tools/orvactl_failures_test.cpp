// Each exit code, and what is said with it.
#include <gtest/gtest.h>

#include "tests/tools/orvactl_process.h"

namespace orva_accelerator::test {
namespace {

class OrvactlFailure : public testing::Test {
 protected:
  OrvactlResult run(std::vector<std::string> arguments) {
    return runOrvactl(asClientOf(service_, std::move(arguments)));
  }

  FakeService service_;
};

TEST_F(OrvactlFailure, IsTwoForWrongUsage) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{},
                                             {"dance"},
                                             {"login", "only-account"},
                                             {"heartbeat", "--timeout", "soon"},
                                             {"heartbeat", "--client-id", "4294967296"},
                                             {"start", "--nodes", "AUTO"},
                                             {"raw", "1"},
                                             {"load", "--seconds", "1"},
                                             {"data", "--count", "2"},
                                             {"login", std::string(20'000, 'x'), "--what"}}) {
    const auto result = run(arguments);
    EXPECT_EQ(result.exitCode, 2u);
    EXPECT_FALSE(result.err.empty());
    EXPECT_EQ(result.out, "");
  }
  EXPECT_TRUE(service_.requests().empty());
}

TEST_F(OrvactlFailure, IsToldInJsonWhenTheCommandLineIsWrong) {
  const auto result = run({"heartbeat", "--timeout", "soon", "--json"});
  EXPECT_EQ(result.exitCode, 2u);
  const auto line = nlohmann::json::parse(result.err);
  EXPECT_EQ(line.at("schema"), 1);
  const auto& error = line.at("error");
  EXPECT_EQ(error.at("kind"), "usage");
  EXPECT_NE(error.at("text").get<std::string>().find("soon"), std::string::npos);
}

TEST_F(OrvactlFailure, IsThreeWithoutAService) {
  const auto result = runOrvactl({"status", "--timeout", "50ms", "--no-verify-server",
                                  "--request-pipe=\\\\.\\pipe\\OrvaTest_nobody"});
  EXPECT_EQ(result.exitCode, 3u);
  EXPECT_EQ(result.err,
            "orvactl: Could not open the request pipe: the service is not running (Win32 error "
            "2)\n");
}

TEST_F(OrvactlFailure, IsThreeWhenTheServiceIsNotInstalledWhoeverServesThePipe) {
  service_.answerWith("heartbeat");
  auto arguments = asClientOf(service_, {"login", "player", "secret"});
  arguments.erase(arguments.begin());  // --no-verify-server
  const auto result = runOrvactl(arguments);
  EXPECT_EQ(result.exitCode, 3u) << result.err;
  EXPECT_TRUE(service_.requests().empty());
}

TEST_F(OrvactlFailure, IsFourWhenNoAnswerComes) {
  service_.answer(0xFFFF, {});
  const auto result = run({"heartbeat", "--timeout", "50ms", "--json"});
  EXPECT_EQ(result.exitCode, 4u);
  EXPECT_EQ(result.out, "");
  const auto error = nlohmann::json::parse(result.err).at("error");
  EXPECT_EQ(error.at("kind"), "timeout");
  EXPECT_EQ(error.at("step"), "read the answer");
}

TEST_F(OrvactlFailure, IsFiveWhenTheAnswerIsNo) {
  service_.answerWith("sdk_init_not_loaded");
  const auto init = run({"init"});
  EXPECT_EQ(init.exitCode, 5u);
  EXPECT_NE(init.err.find("-1, the library could not be loaded"), std::string::npos) << init.err;
  service_.answerWith("sdk_init_not_resolved");
  const auto lacking = run({"init"});
  EXPECT_EQ(lacking.exitCode, 5u);
  EXPECT_NE(lacking.err.find("-2, the library lacks a function"), std::string::npos);
  service_.answerWith("start_accel_refused");
  EXPECT_EQ(run({"start"}).exitCode, 5u);
  service_.answerWith("get_game_last_accel_info_failed");
  EXPECT_EQ(run({"last", "1"}).exitCode, 5u);
  service_.answerWith("get_test_speed_data_failed");
  EXPECT_EQ(run({"speed", "1", "2", "key"}).exitCode, 5u);
  service_.answerWith("get_game_accel_info_failed");
  EXPECT_EQ(run({"game", "1"}).exitCode, 5u);
}

TEST_F(OrvactlFailure, ShowsAnAnswerToInitThatNobodyKnows) {
  const auto header = goldenVector("responses.json", "sdk_init_initialised").header();
  service_.answer(0x100, {Bytes(header.begin(), header.end()), Bytes{7, 0, 0, 0}});
  const auto result = run({"init"});
  EXPECT_EQ(result.exitCode, 5u);
  EXPECT_NE(result.err.find("7, not understood"), std::string::npos) << result.err;
}

TEST_F(OrvactlFailure, IsFourWhenAStepBeforeTheWaitIsNeverAnswered) {
  service_.answer(0xFFFF, {});
  EXPECT_EQ(run({"stop", "--wait", "--timeout", "50ms"}).exitCode, 4u);
  service_.answerWith("heartbeat");
  service_.answer(0x502, {});
  EXPECT_EQ(run({"stop", "--wait", "--timeout", "50ms"}).exitCode, 4u);
  EXPECT_EQ(run({"stop", "--timeout", "50ms"}).exitCode, 4u);
  service_.answer(0x102, {});
  EXPECT_EQ(run({"release", "--timeout", "50ms"}).exitCode, 4u);
}

TEST_F(OrvactlFailure, IsFiveWhenTheServiceDoesNotKnowTheRequest) {
  EXPECT_EQ(run({"console"}).exitCode, 5u);
}

TEST_F(OrvactlFailure, IsSixWhenTheAnswerIsMalformed) {
  service_.answer(0xFFFF, {Bytes{0, 0, 0, 0, 3, 0, 0, 0}, Bytes{1, 2, 3}});
  const auto result = run({"heartbeat"});
  EXPECT_EQ(result.exitCode, 6u);
  EXPECT_EQ(result.out, "");
}

}  // namespace
}  // namespace orva_accelerator::test
