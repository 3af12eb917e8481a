// Commands that ask and show the answer.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/tools/orvactl_process.h"

namespace orva_accelerator::test {
namespace {

class Orvactl : public testing::Test {
 protected:
  OrvactlResult run(std::vector<std::string> arguments) {
    return runOrvactl(asClientOf(service_, std::move(arguments)));
  }

  // The last request is this golden one, byte for byte.
  void expectAsked(const char* vector) {
    const auto requests = service_.requests();
    ASSERT_FALSE(requests.empty());
    EXPECT_TRUE(isMessage(goldenVector("requests.json", vector), requests.back()));
  }

  FakeService service_;
};

TEST_F(Orvactl, ShowsInitForPeople) {
  service_.answerWith("sdk_init_initialised");
  const auto result = run({"init", "--channel-id", "1", "--channel-number", "4294967295",
                           "--channel-name", "官方渠道"});
  EXPECT_EQ(result.exitCode, 0u) << result.err;
  EXPECT_EQ(result.out, "result   1\nmeaning  initialised\n");
  expectAsked("sdk_init_chinese_name");
}

TEST_F(Orvactl, TakesChineseArgumentsAndSendsThemInUtf8) {
  service_.answerWith("user_login");
  EXPECT_EQ(run({"login", "玩家一号", "密码123"}).out, "Login request taken.\n");
  expectAsked("user_login_chinese_account");
}

TEST_F(Orvactl, ShowsStatusForPeopleAndAsJson) {
  service_.answerWith("sdk_is_initialised_yes");
  service_.answerWith("query_accel_owner_own");
  EXPECT_EQ(run({"status"}).out,
            "initialised      yes\nanyAcceleration  yes\nownedByCaller    yes\n");
  EXPECT_EQ(run({"status", "--json"}).out,
            "{\"schema\":1,\"command\":\"status\",\"initialised\":true,\"anyAcceleration\":true,"
            "\"ownedByCaller\":true}\n");
}

TEST_F(Orvactl, ShowsHeartbeatReleaseOwnerAndLeave) {
  service_.answerWith("heartbeat");
  EXPECT_EQ(run({"heartbeat"}).out, "serviceClockMs  12345678\n");
  service_.answerWith("sdk_release");
  EXPECT_EQ(run({"release"}).out, "Released.\n");
  service_.answerWith("query_accel_owner_other");
  EXPECT_EQ(run({"owner"}).out, "anyAcceleration  yes\nownedByCaller    no\n");
  service_.answerWith("client_leaving_last");
  EXPECT_EQ(run({"leave"}).out, "lastClient        yes\nremainingClients  0\n");
}

TEST_F(Orvactl, StartsWithAllArguments) {
  service_.answerWith("start_accel_accepted");
  EXPECT_EQ(run({"start", "--arg1", "1001", "--arg2", "2", "--arg3", "5", "--text", "亚服",
                 "--nodes", "11;12;-3"})
                .exitCode,
            0u);
  expectAsked("start_accel_chinese_text");
  service_.answerWith("start_accel_ex_accepted");
  EXPECT_EQ(run({"start-ex", "--arg1", "1001", "--arg2", "2", "--arg3", "5", "--arg4", "77",
                 "--text", "asia-1", "--nodes", "auto"})
                .exitCode,
            0u);
  expectAsked("start_accel_ex_auto");
}

TEST_F(Orvactl, KeepsChineseTextsIntactWhenRedirected) {
  service_.answerWith("get_game_accel_info_chinese_texts");
  const auto text = run({"game", "1002"});
  EXPECT_NE(text.out.find("gameText      星际竞技场\n"), std::string::npos) << text.out;
  const auto redirected = run({"--json", "game", "1002"});
  EXPECT_TRUE(std::ranges::all_of(redirected.out, [](char c) { return c >= 0; }));
  const auto json = redirected.jsonLines();
  ASSERT_EQ(json.size(), 1u);
  EXPECT_EQ(json[0].at("nodeText"), "上海节点21");
}

TEST_F(Orvactl, ShowsEveryQueryAsJson) {
  const auto expect = [&](const char* vector, std::vector<std::string> arguments) {
    SCOPED_TRACE(vector);
    service_.answerWith(vector);
    arguments.push_back("--json");
    const auto lines = run(arguments).jsonLines();
    ASSERT_EQ(lines.size(), 1u);
    // Every value of the vector under its own name; flags are true and false.
    for (const auto& [name, value] : goldenVector("responses.json", vector).values.items()) {
      if (name == "summary") {
        EXPECT_EQ(lines[0].at("summary2"), value[1]);
      } else if (name.ends_with("Flag")) {
        EXPECT_EQ(lines[0].at(name), value != 0);
      } else if (name == "value8" || name == "reservedLong") {
        EXPECT_EQ(lines[0].at(name), value.dump()) << "64 bits are a text, whatever the value";
      } else if (name == "nodes") {
        auto nodes = value;
        for (auto& node : nodes) node["used4"] = node["used4"].dump();
        EXPECT_EQ(lines[0].at(name), nodes);
      } else {
        EXPECT_EQ(lines[0].at(name), value) << name;
      }
    }
  };
  expect("get_accel_data_chinese_text", {"data"});
  expect("get_console_data", {"console"});
  expect("get_game_last_accel_info_chinese_texts", {"last", "1001"});
  expect("get_test_speed_data", {"speed", "1001", "2", "asia-1", "--option", "1"});
  expect("get_game_accel_info", {"game", "1001"});
  expect("get_game_used_node_list_two", {"nodes", "1001"});
}

TEST_F(Orvactl, RefreshesTheLiveViewAsOftenAsAsked) {
  service_.answerWith("get_accel_data");
  const auto result = run({"data", "--every", "10ms", "--count", "3"});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_EQ(service_.countOf(0x600), 3u);
  EXPECT_EQ(result.out.substr(0, 13), "value1   101\n");
}

TEST_F(Orvactl, DumpsRawAnswersForDevelopers) {
  const auto dev = [this](std::vector<std::string> arguments) {
    return runOrvactlDev(asClientOf(service_, std::move(arguments)));
  };
  service_.answerWith("query_accel_owner_own");
  EXPECT_EQ(dev({"raw", "0x503"}).out,
            "00000000  01 01                                             |..|\n2 bytes\n");
  EXPECT_EQ(dev({"raw", "1283", "--json"}).out,
            "{\"schema\":1,\"command\":\"raw\",\"type\":1283,\"length\":2,\"hex\":\"0101\"}\n");
  EXPECT_EQ(dev({"raw", "0x10600", "01 02ff"}).out, "(empty answer)\n");
  EXPECT_EQ(hexFromBytes(service_.requests().back()),
            "50 4C 58 52 00 00 00 00 00 06 01 00 03 00 00 00 00 00 00 00 07 00 00 00 01 02 FF");
  EXPECT_EQ(dev({"raw", "1", "0g"}).exitCode, 2u);
  EXPECT_EQ(runOrvactlDev({"--version"}).out.substr(0, 12), "orvactl-dev ");
}

TEST_F(Orvactl, HelpsAndTellsItsVersionWithoutAService) {
  EXPECT_EQ(runOrvactl({"--version"}).out.substr(0, 8), "orvactl ");
  const auto help = runOrvactl({"--help"});
  EXPECT_EQ(help.exitCode, 0u);
  EXPECT_NE(help.out.find("First steps:"), std::string::npos);
  EXPECT_EQ(help.out.find("--request-pipe"), std::string::npos);
  const auto init = runOrvactl({"init", "--help"});
  EXPECT_NE(init.out.find("Examples:"), std::string::npos);
  EXPECT_NE(init.out.find("官方"), std::string::npos);
}

}  // namespace
}  // namespace orva_accelerator::test
