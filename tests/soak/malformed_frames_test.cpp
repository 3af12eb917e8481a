// Clients that break the protocol in every way there is, several at once, while another one is
// served.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "client/requests.h"
#include "tests/soak/hostile_frames.h"
#include "tests/soak/soak_scale.h"
#include "tests/soak/soak_session.h"
#include "tests/soak/witness.h"

namespace orva_accelerator::test {
namespace {

using Then = HostileFrame::Then;

constexpr std::size_t kMiB = 1024 * 1024;
constexpr unsigned kAttackers = 4;

// One hostile program: goes from connection to connection.
class Attacker {
 public:
  explicit Attacker(std::uint64_t seed) : frames_(seed) {}

  // "" when the service did what it has to.
  std::string attack() {
    if (frames_.below(100) == 0) return registerBadly();
    const HostileFrame hostile = frames_.next();
    if (!pipe_.isOpen()) {
      ++connections_;
      if (pipe_.open(kRequestPipe) != ERROR_SUCCESS) return "cannot connect";
    }
    const std::string outcome = send(hostile);
    if (!outcome.empty() || hostile.then != Then::Answered) pipe_.close();
    return outcome.empty() ? outcome : std::string(hostile.kind) + ": " + outcome;
  }

  std::size_t connections() const { return connections_; }
  std::size_t badRegistrations() const { return badRegistrations_; }

 private:
  std::string send(const HostileFrame& hostile) {
    for (const client::Bytes& message : hostile.messages) {
      if (hostile.then == Then::Leave) {
        // The service may wait until its answer is read, and then takes no more.
        (void)pipe_.write(message, std::chrono::milliseconds(20));
        continue;
      }
      const PipeOutcome written = pipe_.write(message);
      // It may hang up before it has everything.
      if (!written.done() && !(written.closed() && hostile.then == Then::HungUpOn)) {
        return "cannot be written, error " + std::to_string(written.error);
      }
    }
    for (unsigned answer = 0; answer < hostile.answers; ++answer) {
      if (!readAnswer(pipe_)) return "is not answered";
    }
    if (hostile.then == Then::HungUpOn && !pipe_.endsSilently()) return "is not hung up on";
    return "";
  }

  std::string registerBadly() {
    ++badRegistrations_;
    RawPipeClient pipe;
    if (pipe.open(kPushPipe) != ERROR_SUCCESS) return "cannot connect to the push pipe";
    if (frames_.below(4) == 0) return "";  // Leaves without a word.
    const PipeOutcome written = pipe.write(frames_.nextBadRegistration());
    if (!written.done() && !written.closed()) return "a bad registration cannot be written";
    return pipe.endsSilently() ? "" : "a bad registration is not hung up on";
  }

  HostileFrames frames_;
  RawPipeClient pipe_;
  std::size_t connections_ = 0;
  std::size_t badRegistrations_ = 0;
};

class MalformedFrames : public SoakSession {
 protected:
  void TearDown() override {
    report_.write(!HasFailure());
    SoakSession::TearDown();
  }

  SoakReport report_{"frames"};
};

TEST_F(MalformedFrames, NeverKeepTheServiceFromAnsweringAGoodClient) {
  const std::size_t total = amount(4'000, 1'000'000);
  ASSERT_TRUE(initialise());
  Progress progress("frames", total);
  std::atomic<std::size_t> next = 0;
  std::atomic<bool> failed = false;
  std::vector<std::unique_ptr<Attacker>> attackers;
  std::vector<std::thread> threads;
  Witness witness;
  for (unsigned number = 0; number < kAttackers; ++number) {
    const std::uint64_t seed = soakSeed() * 1'000 + number;
    Attacker& attacker = *attackers.emplace_back(std::make_unique<Attacker>(seed));
    threads.emplace_back([&, seed] {
      while (!failed && next++ < total) {
        const std::string outcome = attacker.attack();
        if (!outcome.empty()) failed = true;
        EXPECT_EQ(outcome, "") << "seed " << seed;
        progress.advance();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const bool stillWitnessed = witness.seesAnswers(2);
  witness.stop();
  if (const std::optional<DWORD> code = waitForEnd(std::chrono::milliseconds(0))) {
    ADD_FAILURE() << "the service has ended with code " << *code;
    report_.figure("service ended with code", *code);
  }

  std::size_t connections = witness.asked() / 2;
  std::size_t badRegistrations = 0;
  for (const auto& attacker : attackers) {
    connections += attacker->connections();
    badRegistrations += attacker->badRegistrations();
  }
  report_.figure("frames", static_cast<std::int64_t>(std::min(next.load(), total)));
  report_.figure("connections", static_cast<std::int64_t>(connections));
  report_.figure("bad registrations", static_cast<std::int64_t>(badRegistrations));
  report_.figure("questions of the good client", static_cast<std::int64_t>(witness.asked()));
  report_.figure("unanswered", static_cast<std::int64_t>(witness.unanswered()));
  report_.figure("slowest answer ms", witness.slowest().count());
  report_.figure("peak working set MiB", static_cast<std::int64_t>(peakWorkingSet() / kMiB));
  report_.figure("working set MiB", static_cast<std::int64_t>(workingSet() / kMiB));
  EXPECT_TRUE(stillWitnessed);
  EXPECT_EQ(witness.unanswered(), 0U);
  EXPECT_TRUE(isAliveAndAnswers());
  EXPECT_GT(peakWorkingSet(), kMiB) << "not measured";
  // Far above what all attackers together have under way, and what threads of the past leave
  // behind, which is a few KiB each.
  EXPECT_LT(peakWorkingSet(), 400 * kMiB + connections * 8 * 1024);
}

// The two requests that end the service by design, which the seeds never choose.
TEST_F(MalformedFrames, EndTheServiceByAListOfNodesOnlyAndItStartsAgain) {
  ASSERT_TRUE(initialise());
  RawPipeClient pipe;
  ASSERT_EQ(pipe.open(kRequestPipe), DWORD{ERROR_SUCCESS});
  const client::StartRequest malformed{1001, 1, 0, "east-1", "1;x"};
  ASSERT_TRUE(pipe.write(frame(ipc::MsgStartAccel, client::encodeStart(malformed).value())).done());
  EXPECT_EQ(waitForEnd(), std::optional<DWORD>(kDeliberateEnd));
  EXPECT_TRUE(startAgain());
}

}  // namespace
}  // namespace orva_accelerator::test
