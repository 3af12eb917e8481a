// Very many clients one after the other, and what they leave behind in the service.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/soak/soak_scale.h"
#include "tests/soak/soak_session.h"

namespace orva_accelerator::test {
namespace {

constexpr std::size_t kKiB = 1024;
// What does not grow with the number of clients: a request connection, the system's threads for
// timers, which come and go by themselves, and one or two more that were seen and not explained:
// perhaps what the runtime library makes for a mutex when two threads first meet at it.
constexpr std::size_t kOfOthers = 16;
// Threads end some time after their client has left.
constexpr std::chrono::seconds kSettling{60};

class ConnectionSoak : public SoakSession {
 protected:
  void TearDown() override {
    report_.write(!HasFailure());
    SoakSession::TearDown();
  }

  void count(const std::string& name, std::size_t value) {
    report_.figure(name, static_cast<std::int64_t>(value));
  }

  // Waits until so many handles are open, and few others.
  bool handlesSettleAt(std::size_t expected) const {
    return waitUntil(
        [&] {
          const std::size_t now = handles();
          if (now >= expected && now - expected <= kOfOthers) return true;
          Sleep(20);  // Counting is slow when there are many, and holds up everybody else.
          return false;
        },
        kSettling);
  }

  // Once nothing comes and goes any more: threads of the library end when they were idle for 200
  // ms.
  std::size_t restingHandles() const {
    std::size_t last = 0;
    const bool rests = waitUntil(
        [&] {
          const std::size_t before = last;
          Sleep(500);
          last = handles();
          return before == last;
        },
        kSettling);
    EXPECT_TRUE(rests);
    return last;
  }

  bool logInOnce() {
    RawPipeClient pipe;
    return asksAndIsAnswered(pipe, loginFrame());
  }

  bool askOnce() {
    RawPipeClient pipe;
    return asksAndIsAnswered(pipe, frame(ipc::MsgHeartbeat));
  }

  SoakReport report_{"soak"};
};

TEST_F(ConnectionSoak, KeepsOneThreadObjectARequestConnectionAndNothingElse) {
  constexpr std::size_t kCycles = 10;
  const std::size_t perCycle = amount(2'000, 100'000) / kCycles;
  ASSERT_TRUE(initialise());
  // What is made once and then kept is there after these.
  for (int connection = 0; connection < 20; ++connection) ASSERT_TRUE(askOnce());
  std::size_t expected = restingHandles();
  const std::size_t firstHandles = expected;
  const std::size_t firstMemory = workingSet();
  Progress progress("request connections", perCycle * kCycles);
  for (std::size_t cycle = 1; cycle <= kCycles && !HasFailure(); ++cycle) {
    for (std::size_t connection = 0; connection < perCycle && !HasFailure(); ++connection) {
      EXPECT_TRUE(askOnce());
      progress.advance();
    }
    expected += perCycle;
    EXPECT_TRUE(handlesSettleAt(expected))
        << handles() << " instead of " << expected << " handles in cycle " << cycle;
    count("KiB in cycle " + std::to_string(cycle), workingSet() / kKiB);
  }
  const std::size_t grown = workingSet() - std::min(firstMemory, workingSet());
  count("request connections", perCycle * kCycles);
  count("handles more", handles() - firstHandles);
  count("KiB at first", firstMemory / kKiB);
  count("bytes a connection", grown / (perCycle * kCycles));
  EXPECT_TRUE(isAliveAndAnswers());
}

// The thread of a push connection stays until the service stops, whatever becomes of its client,
// and a living thread holds one event of the runtime library's. The system here cannot carry ten
// thousand threads in one process, so the service lives several times.
TEST_F(ConnectionSoak, KeepsTheThreadOfAPushRegistrationAndNothingElse) {
  const std::size_t lives = amount(1, 10);
  const std::size_t perLife = amount(500, 1'000);
  Progress progress("push registrations", perLife * lives);
  for (std::size_t life = 1; life <= lives && !HasFailure(); ++life) {
    ASSERT_TRUE(initialise());
    ASSERT_TRUE(logInOnce());
    const std::size_t before = restingHandles();
    const std::size_t memoryBefore = workingSet();
    // Half of them under ids that come again and take the place of their predecessor.
    for (std::size_t number = 0; number < perLife && !HasFailure(); ++number) {
      RawPipeClient pipe;
      const std::size_t id = number % 2 == 0 ? 1 + number % 100 : 1'000 + number;
      EXPECT_TRUE(registerPush(pipe, static_cast<std::uint32_t>(id)));
      progress.advance();
    }
    // Its announcement finds out that nobody is left. It is a request connection, too.
    ASSERT_TRUE(logInOnce());
    const std::size_t expected = before + perLife;
    EXPECT_TRUE(waitUntil([&] { return handles() - expected <= kOfOthers; }, kSettling))
        << handles() - before << " handles more in life " << life;
    count("handles more in life " + std::to_string(life), handles() - before);
    count("KiB more in life " + std::to_string(life), (workingSet() - memoryBefore) / kKiB);
    EXPECT_TRUE(isAliveAndAnswers());
    if (!stopAndCheck() || (life < lives && !startAgain())) break;
  }
  count("push registrations", perLife * lives);
}

}  // namespace
}  // namespace orva_accelerator::test
