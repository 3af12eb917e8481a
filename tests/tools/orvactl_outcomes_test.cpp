// Commands that listen for what the service announces.
#include <gtest/gtest.h>

#include "tests/tools/orvactl_process.h"

namespace orva_accelerator::test {
namespace {

class OrvactlOutcome : public testing::Test {
 protected:
  OrvactlResult run(std::vector<std::string> arguments) {
    return runOrvactl(asClientOf(service_, std::move(arguments)));
  }

  void answerEverything() {
    for (const char* vector : {"sdk_init_initialised", "user_login", "start_accel_accepted",
                               "start_accel_ex_accepted", "stop_accel", "query_accel_owner_own",
                               "get_accel_data", "client_leaving_last", "heartbeat"}) {
      service_.answerWith(vector);
    }
    service_.announceAfter(0x101, {"user_login_succeeded"});
    service_.announceAfter(0x500, {"start_accel_progress_empty_texts", "start_accel_accelerating"});
    service_.announceAfter(0x502, {"stop_accel_succeeded"});
  }

  FakeService service_;
};

TEST_F(OrvactlOutcome, WatchPrintsNotificationsUntilTheCount) {
  OrvactlProcess watch(asClientOf(service_, {"watch", "--count", "3"}));
  ASSERT_TRUE(service_.waitForRegistration(7));
  service_.announceVector("user_login_chinese_text");
  service_.announceVector("start_accel_accelerating", 8);
  service_.announceVector("stop_accel_succeeded");
  const auto result = watch.finish();
  EXPECT_EQ(result.exitCode, 0u) << result.err;
  EXPECT_EQ(result.out,
            "Watching as client 7.\n"
            "login     client 7 (own)  failed        code 20002, text 账号或密码错误\n"
            "start     client 8  accelerating  value1 1001, value2 2, text1 asia-1, value3 103, "
            "state 4, value4 104, value5 105, text2 Node 11\n"
            "stop      client 7 (own)  stopped       code 0, text Acceleration stopped "
            "successfully\n");
  EXPECT_TRUE(service_.requests().empty());
}

TEST_F(OrvactlOutcome, WatchPrintsOneJsonObjectALine) {
  OrvactlProcess watch(asClientOf(service_, {"--json", "watch", "--count", "1"}));
  ASSERT_TRUE(service_.waitForRegistration(7));
  service_.announceVector("stop_accel_negative_code");
  const auto lines = watch.finish().jsonLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].at("clientId"), 7);
  EXPECT_EQ(lines[0].at("schema"), 1);
  EXPECT_EQ(lines[1].at("schema"), 1);
  EXPECT_EQ(lines[1].at("notification"), "stop");
  EXPECT_EQ(lines[1].at("code"), -7);
  EXPECT_EQ(lines[1].at("success"), false);
}

TEST_F(OrvactlOutcome, WatchEndsAfterItsTime) {
  const auto result = run({"watch", "--seconds", "0.05"});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_EQ(result.out, "Watching as client 7.\n");
}

TEST_F(OrvactlOutcome, WatchSaysWhenAMessageFitsNowhere) {
  OrvactlProcess watch(asClientOf(service_, {"watch"}));
  ASSERT_TRUE(service_.waitForRegistration(7));
  service_.announce(Bytes{1, 2, 3});
  EXPECT_EQ(watch.finish().exitCode, 6u);
}

TEST_F(OrvactlOutcome, LoginWaitsForItsResult) {
  answerEverything();
  const auto result = run({"login", "player", "secret", "--wait"});
  EXPECT_EQ(result.exitCode, 0u) << result.err;
  EXPECT_EQ(result.out, "Login request taken.\nlogin     client 7 (own)  logged in     code 0\n");
  EXPECT_EQ(
      result.err,
      "orvactl: others can see a credential on the command line; leave it out to be asked for "
      "it\n");
}

TEST_F(OrvactlOutcome, IsFiveWhenTheLoginFails) {
  answerEverything();
  service_.announceAfter(0x101, {"user_login_refused"});
  const auto result = run({"login", "player", "secret", "--wait"});
  EXPECT_EQ(result.exitCode, 5u);
  EXPECT_NE(result.err.find("20001"), std::string::npos) << result.err;
}

TEST_F(OrvactlOutcome, IsFiveWhenTheStopFails) {
  answerEverything();
  service_.announceAfter(0x502, {"stop_accel_negative_code"});
  const auto result = run({"stop", "--wait"});
  EXPECT_EQ(result.exitCode, 5u);
  EXPECT_NE(result.err.find("the library could not stop: code -7"), std::string::npos)
      << result.err;
}

TEST_F(OrvactlOutcome, IsFourWhenNothingIsAnnounced) {
  answerEverything();
  service_.announceAfter(0x101, {});
  EXPECT_EQ(run({"login", "player", "secret", "--wait", "--wait-timeout", "50ms"}).exitCode, 4u);
}

TEST_F(OrvactlOutcome, StartShowsProgressUntilItAccelerates) {
  answerEverything();
  const auto lines = run({"--json", "start", "--wait"}).jsonLines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].at("taken"), true);
  EXPECT_EQ(lines[1].at("stateName"), "progress");
  EXPECT_EQ(lines[2].at("stateName"), "accelerating");
}

TEST_F(OrvactlOutcome, IsFiveWhenTheAccelerationEndsInsteadOfRunning) {
  answerEverything();
  service_.announceAfter(0x500, {"start_accel_failed"});
  const auto result = run({"start", "--wait"});
  EXPECT_EQ(result.exitCode, 5u) << result.out << result.err;
}

TEST_F(OrvactlOutcome, IgnoresTheOutcomesOfOthers) {
  answerEverything();
  service_.announceAfter(0x502, {});
  OrvactlProcess stop(asClientOf(service_, {"stop", "--wait"}));
  ASSERT_TRUE(waitUntil([&] { return service_.countOf(0x502) == 1; }));
  ASSERT_TRUE(service_.waitForRegistration(7));
  service_.announceVector("stop_accel_failed", 8);
  service_.announceVector("stop_accel_succeeded", 7);
  const auto result = stop.finish();
  EXPECT_EQ(result.exitCode, 0u) << result.err;
  EXPECT_EQ(result.out.find("client 8"), std::string::npos);
}

TEST_F(OrvactlOutcome, SessionLivesAWholeLife) {
  answerEverything();
  const auto lines = run({"--json", "session", "--yes"}).jsonLines();
  std::vector<std::string> steps;
  for (const auto& line : lines) {
    steps.push_back(line.contains("command") ? line.at("command").get<std::string>()
                                             : "-" + line.at("notification").get<std::string>());
  }
  EXPECT_EQ(steps, (std::vector<std::string>{"register", "init", "-login", "-start", "-start",
                                             "owner", "data", "-stop", "leave"}));
}

TEST_F(OrvactlOutcome, SessionShowsEachStepForPeople) {
  answerEverything();
  const auto result = run({"session", "--yes"});
  EXPECT_EQ(result.exitCode, 0u) << result.err;
  for (const char* part : {"Registered for notifications as client 7", "Logging in", "progress",
                           "accelerating", "While it runs", "value8", "stopped", "Leaving"}) {
    EXPECT_NE(result.out.find(part), std::string::npos) << part << "\n" << result.out;
  }
}

// Nothing is known of a library behind a service that is not registered.
TEST_F(OrvactlOutcome, SessionDoesNotGiveAMadeUpAccountToAnUnknownLibrary) {
  answerEverything();
  const auto result = run({"session", "--json"});
  EXPECT_EQ(result.exitCode, 2u) << result.out;
  EXPECT_NE(result.err.find("--yes"), std::string::npos) << result.err;
  EXPECT_TRUE(service_.requests().empty());
}

TEST_F(OrvactlOutcome, SessionGivesAnAccountNoMadeUpCredential) {
  answerEverything();
  EXPECT_EQ(run({"session", "--account", "mine"}).exitCode, 2u);
  EXPECT_TRUE(service_.requests().empty());
  const auto result = run({"session", "--account", "mine", "--credential", "own"});
  EXPECT_EQ(result.exitCode, 0u) << result.err;
  EXPECT_NE(result.err.find("others can see a credential"), std::string::npos) << result.err;
}

TEST_F(OrvactlOutcome, SessionLeavesEvenWhenAStepFails) {
  answerEverything();
  service_.announceAfter(0x500, {"start_accel_failed"});
  EXPECT_EQ(run({"session", "--yes"}).exitCode, 5u);
  EXPECT_EQ(service_.countOf(0x700), 1u);
}

TEST_F(OrvactlOutcome, SessionLeavesOnAnotherConnectionWhenAStepIsNeverAnswered) {
  answerEverything();
  service_.answer(0x500, {});
  EXPECT_EQ(run({"--timeout", "2s", "session", "--yes"}).exitCode, 4u);
  EXPECT_EQ(service_.countOf(0x500), 1u);
  EXPECT_EQ(service_.countOf(0x700), 1u);
}

}  // namespace
}  // namespace orva_accelerator::test
