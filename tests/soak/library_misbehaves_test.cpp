// A library that blocks, calls back when and how it should not, and raises exceptions.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "client/requests.h"
#include "ipc/wire/headers.h"
#include "tests/soak/soak_scale.h"
#include "tests/soak/soak_session.h"
#include "tests/soak/witness.h"

namespace orva_accelerator::test {
namespace {

using client::Bytes;

constexpr std::uint32_t kLastClient = 99;

bool isHeaderFor(std::uint32_t clientId, const std::vector<std::uint8_t>& message) {
  ipc::PushFrameHeader header = {};
  if (message.size() != sizeof header) return false;
  std::memcpy(&header, message.data(), sizeof header);
  return header.magic == ipc::kPushMagic && header.clientId == clientId;
}

// A push client that reads all the time, on a thread of its own: whoever also waits for answers
// does not read meanwhile, and the service drops who does not read.
class Listener {
 public:
  explicit Listener(std::uint32_t clientId) : registered_(registerPush(pipe_, clientId)) {
    if (registered_) thread_ = std::thread([this] { listen(); });
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  ~Listener() { stop(); }

  bool registered() const { return registered_; }
  std::size_t heard() const { return heard_; }
  // Waits until it has heard of the last client.
  [[nodiscard]] bool hearsOfTheLast() const {
    return waitUntil([this] { return heardOfTheLast_.load(); });
  }

  // Reads what is still to come, until nothing has come for a moment. The error that ended the
  // connection; 0 while it stands.
  DWORD stop() {
    leaving_ = true;
    if (thread_.joinable()) thread_.join();
    return error_;
  }

 private:
  void listen() {
    for (;;) {
      const PipeOutcome next = pipe_.read(std::chrono::milliseconds(200));
      if (next.done()) {
        ++heard_;
        if (isHeaderFor(kLastClient, next.message)) heardOfTheLast_ = true;
      } else if (!next.timedOut()) {
        error_ = next.error;
        return;
      } else if (leaving_) {
        return;
      }
    }
  }

  RawPipeClient pipe_;
  const bool registered_;
  std::atomic<bool> leaving_ = false;
  std::atomic<std::size_t> heard_ = 0;
  std::atomic<bool> heardOfTheLast_ = false;
  DWORD error_ = ERROR_SUCCESS;  // The thread's, until it has been joined.
  std::thread thread_;
};

class LibraryMisbehaves : public SoakSession {
 protected:
  void TearDown() override {
    report_.write(!HasFailure());
    SoakSession::TearDown();
  }

  // Asks all of it at once, each on a connection of its own, and then has a good client answered
  // while the library blocks. In a long run the answers are waited for.
  void askAllAndWatch(const std::vector<Bytes>& questions);
  // Two clients' worth of asynchronous operations.
  void runOperations();

  SoakReport report_{"library"};
};

Bytes startFrame(std::uint32_t type) {
  const client::StartRequest start{1001, 1, 0, "east-1", "101"};
  return frame(type, type == ipc::MsgStartAccel ? client::encodeStart(start).value()
                                                : client::encodeStartEx({start, 0}).value());
}

// Every request that reaches the library when it is initialised.
std::vector<Bytes> questionsToTheLibrary() {
  const client::SpeedRequest speed{1001, 1, "east-1", 0};
  return {loginFrame(),
          startFrame(ipc::MsgStartAccel),
          startFrame(ipc::MsgStartAccelEx),
          frame(ipc::MsgStopAccel),
          frame(ipc::MsgGetAccelData),
          frame(ipc::MsgGetConsoleData),
          frame(ipc::MsgGetGameLastAccelInfo, client::encodeGame(1001)),
          frame(ipc::MsgGetTestSpeedData, client::encodeSpeed(speed).value()),
          frame(ipc::MsgGetGameAccelInfo, client::encodeGame(1001)),
          frame(ipc::MsgGetGameUsedNodeList, client::encodeGame(1001))};
}

void LibraryMisbehaves::askAllAndWatch(const std::vector<Bytes>& questions) {
  const auto begun = std::chrono::steady_clock::now();
  std::vector<std::unique_ptr<RawPipeClient>> blocked;
  for (const Bytes& question : questions) {
    blocked.push_back(std::make_unique<RawPipeClient>());
    ASSERT_EQ(blocked.back()->open(kRequestPipe), DWORD{ERROR_SUCCESS});
    ASSERT_TRUE(blocked.back()->write(question).done());
  }
  Witness witness;
  EXPECT_TRUE(witness.seesAnswers(40));
  report_.figure("blocked calls", static_cast<std::int64_t>(questions.size()));
  report_.figure("heartbeats answered meanwhile", static_cast<std::int64_t>(witness.asked()));
  report_.figure("slowest heartbeat ms", witness.slowest().count());
  EXPECT_EQ(witness.unanswered(), 0U);
  // On a machine too busy for forty heartbeats in the time that the library blocks, this would show
  // nothing; there is nothing to be shown then.
  if (std::chrono::steady_clock::now() - begun < std::chrono::seconds(8)) {
    for (std::size_t number = 0; number < blocked.size(); ++number) {
      EXPECT_TRUE(blocked[number]->staysSilent(std::chrono::milliseconds(0)))
          << "question " << number << " was not blocked";
    }
  }
  if (!isLongRun()) return;
  // A question may take several calls of the library, each of which blocks.
  for (std::size_t number = 0; number < blocked.size(); ++number) {
    EXPECT_TRUE(readAnswer(*blocked[number], std::chrono::seconds(300))) << "question " << number;
  }
  report_.figure("all answered after s", std::chrono::duration_cast<std::chrono::seconds>(
                                             std::chrono::steady_clock::now() - begun)
                                             .count());
}

TEST_F(LibraryMisbehaves, BlocksInEveryCallButDelaysNoHeartbeat) {
  ASSERT_TRUE(initialise());
  scenario(R"({"Kernel_UserLoginFromAccount": {"blockMs": 10000},
               "Kernel_StartAccel": {"blockMs": 10000}, "Kernel_StartAccelEx": {"blockMs": 10000},
               "Kernel_StopAccel": {"blockMs": 10000}, "Kernel_GetAccelData": {"blockMs": 10000},
               "Kernel_GetConsoleData": {"blockMs": 10000},
               "Kernel_GetGameLastAccelInfo": {"blockMs": 10000},
               "Kernel_GetTestSpeedData_V2": {"blockMs": 10000},
               "Kernel_GetGameDataFromGameID": {"blockMs": 10000},
               "Kernel_GetGameServerDataList": {"blockMs": 10000},
               "Kernel_GetGameNodeDataList": {"blockMs": 10000},
               "Kernel_GetGameUsedNodeDataList": {"blockMs": 10000}})");
  std::vector<Bytes> questions = questionsToTheLibrary();
  // A second start is turned down while one is pending, without a call.
  questions.erase(questions.begin() + 2);
  askAllAndWatch(questions);
}

TEST_F(LibraryMisbehaves, BlocksTheExtendedStartButDelaysNoHeartbeat) {
  ASSERT_TRUE(initialise());
  scenario(
      R"({"Kernel_StartAccelEx": {"blockMs": 10000}, "Kernel_StopAccel": {"blockMs": 10000}})");
  askAllAndWatch({startFrame(ipc::MsgStartAccelEx)});
}

TEST_F(LibraryMisbehaves, BlocksInItsInitialisationButDelaysNoHeartbeat) {
  scenario(
      R"({"Kernel_Init": {"blockMs": 10000}, "Kernel_SetSdkChannelNumber": {"blockMs": 10000}})");
  askAllAndWatch({initFrame(), initFrame()});
}

void LibraryMisbehaves::runOperations() {
  RawPipeClient first;
  RawPipeClient second;
  for (const Bytes& question :
       {initFrame(), loginFrame(), startFrame(ipc::MsgStartAccel), startFrame(ipc::MsgStartAccelEx),
        frame(ipc::MsgStopAccel), frame(ipc::MsgQueryAccelOwner)}) {
    EXPECT_TRUE(asksAndIsAnswered(first, question));
    EXPECT_TRUE(asksAndIsAnswered(second, question));
  }
}

TEST_F(LibraryMisbehaves, CallsBackTwiceInlineAndFromManyThreadsButLosesNobody) {
  const std::size_t rounds = amount(10, 500);
  ASSERT_TRUE(initialise());
  Witness witness;
  Listener listener(7);
  ASSERT_TRUE(listener.registered());
  scenario(R"({
    "Kernel_UserLoginFromAccount": {"completions": [
      {"inline": true, "times": 2}, {"threads": 4, "times": 2, "afterMs": 0}, {"times": 2}]},
    "Kernel_StopAccel": {"completions": [
      {"inline": true, "times": 2}, {"threads": 4, "times": 2, "afterMs": 0, "code": 5}]},
    "Kernel_StartAccel": {"survivesStop": true, "completions": [
      {"inline": true, "state": 4, "times": 2}, {"threads": 4, "state": 5, "afterMs": 0},
      {"state": 4, "text1": null, "text2": null, "times": 2}, {"nullRecord": true},
      {"state": 4, "text1": {"repeat": "中", "times": 1000}, "text2": {"units": [55296, 65]}}]},
    "Kernel_StartAccelEx": {"survivesStop": true, "completions": [
      {"inline": true, "state": 4}, {"threads": 4, "state": 6, "afterMs": 0, "times": 2}]}})");
  Progress progress("rounds of misplaced completions", rounds);
  for (std::size_t round = 0; round < rounds && !HasFailure(); ++round) {
    runOperations();
    progress.advance();
  }
  // Whoever is still registered hears of one more login.
  scenario("{}");
  RawPipeClient last;
  EXPECT_TRUE(asksAndIsAnswered(last, loginFrame(kLastClient)));
  EXPECT_TRUE(listener.hearsOfTheLast()) << "nothing reaches the listener any more";
  EXPECT_EQ(listener.stop(), DWORD{ERROR_SUCCESS}) << "the listener was dropped";
  report_.figure("rounds", static_cast<std::int64_t>(rounds));
  report_.figure("messages heard", static_cast<std::int64_t>(listener.heard()));
  report_.figure("heartbeats asked", static_cast<std::int64_t>(witness.asked()));
  report_.figure("unanswered", static_cast<std::int64_t>(witness.unanswered()));
  report_.figure("slowest heartbeat ms", witness.slowest().count());
  EXPECT_GT(listener.heard(), rounds);
  EXPECT_EQ(witness.unanswered(), 0U);
  EXPECT_TRUE(isAliveAndAnswers());
}

TEST_F(LibraryMisbehaves, CallsBackAfterItsReleaseButEndsNothing) {
  const std::size_t rounds = amount(10, 500);
  scenario(R"({
    "Kernel_UserLoginFromAccount": {"completions": [{"afterMs": 30, "times": 2}]},
    "Kernel_StartAccel": {"survivesStop": true, "completions": [{"afterMs": 30, "state": 4}]}})");
  Progress progress("releases", rounds);
  RawPipeClient pipe;
  for (std::size_t round = 0; round < rounds && !HasFailure(); ++round) {
    for (const Bytes& question : {initFrame(), loginFrame(), startFrame(ipc::MsgStartAccel),
                                  frame(ipc::MsgSdkRelease), frame(ipc::MsgGetAccelData)}) {
      EXPECT_TRUE(asksAndIsAnswered(pipe, question));
    }
    progress.advance();
  }
  // The last completions come now.
  Sleep(100);
  report_.figure("releases", static_cast<std::int64_t>(rounds));
  EXPECT_TRUE(isAliveAndAnswers());
}

TEST_F(LibraryMisbehaves, FillsTextsToTheBrimAndLiesAboutCountsButIsAnswered) {
  ASSERT_TRUE(initialise());
  simulator().writeScenario(R"({"log": {"enabled": false},
    "functions": {
      "Kernel_GetGameUsedNodeDataList": {"countingCall": {"count": 1000}},
      "Kernel_GetTestSpeedData_V2": {"fillingCall": {"count": 4294967295}},
      "Kernel_GetGameServerDataList": {"countingCall": {"count": 1}, "fillingCall": {"count": 9}}},
    "catalogue": {"games": [{"gameId": 1001, "text": {"repeat": "中", "times": 255},
        "lastAccel": {"areaId": 1, "infoText": {"repeat": "中", "times": 256},
                      "serverKey": {"repeat": "x", "times": 256}}}],
      "accelData": {"text1": {"repeat": "中", "times": 255}, "text3": {"repeat": "A", "times": 255},
                    "text5": {"units": [55296]}}}})");
  RawPipeClient pipe;
  for (const Bytes& question : questionsToTheLibrary()) {
    EXPECT_TRUE(asksAndIsAnswered(pipe, question));
  }
  EXPECT_TRUE(isAliveAndAnswers());
}

// Nothing is done to survive a corrupt process: it ends at once, with the exception's code and
// without a dialog, and the next start works.
TEST_F(LibraryMisbehaves, RaisesAnExceptionAndEndsTheServiceWhichStartsAgain) {
  struct Raised {
    const char* exception;
    DWORD code;
  };
  for (const Raised& raised :
       {Raised{R"("accessViolation")", 0xC0000005}, Raised{"3758096385", 0xE0000001}}) {
    SCOPED_TRACE(raised.exception);
    ASSERT_TRUE(initialise());
    scenario(std::string(R"({"Kernel_GetAccelData": {"raise": )") + raised.exception + "}}");
    RawPipeClient pipe;
    ASSERT_EQ(pipe.open(kRequestPipe), DWORD{ERROR_SUCCESS});
    ASSERT_TRUE(pipe.write(frame(ipc::MsgGetAccelData)).done());
    const std::optional<DWORD> code = waitForEnd();
    ASSERT_TRUE(code) << "the service does not end";
    EXPECT_EQ(*code, raised.code);
    report_.figure(std::string("exit code of ") + raised.exception, *code);
    ASSERT_TRUE(startAgain());
  }
}

}  // namespace
}  // namespace orva_accelerator::test
