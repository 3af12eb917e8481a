// Very many clients one after the other, and what they leave behind in the service.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ipc/wire/messages.h"
#include "tests/soak/soak_scale.h"
#include "tests/soak/soak_session.h"

namespace orva_accelerator::test {
namespace {

constexpr std::size_t kKiB = 1024;
// What does not grow with the number of clients: the runtime library makes a mutex's event when two
// threads first meet at it, and keeps it. The service has a dozen mutexes, the runtime's own
// included.
constexpr std::size_t kEventsOfMutexes = 12;
// In a count of registrations also a request connection, and the system's threads for timers, which
// come and go by themselves.
constexpr std::size_t kOfOthers = kEventsOfMutexes + 4;
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

  // Waits until there are just so many thread objects, and the other handles are what they were.
  bool handlesSettleAt(std::size_t threads, std::size_t others) const {
    return waitUntil(
        [&] {
          const HandleCounts now = handles();
          if (now.threads == threads && now.others >= others &&
              now.others - others <= kEventsOfMutexes) {
            return true;
          }
          Sleep(20);  // Counting is slow when there are many, and holds up everybody else.
          return false;
        },
        kSettling);
  }

  // Once nothing comes and goes any more: threads of the library end when they were idle for 200
  // ms.
  HandleCounts restingHandles() const {
    HandleCounts last;
    const bool rests = waitUntil(
        [&] {
          const HandleCounts before = last;
          Sleep(500);
          last = handles();
          return before.threads == last.threads && before.others == last.others;
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
  const std::size_t perCycle = amount(500, 100'000) / kCycles;
  ASSERT_TRUE(initialise());
  // What is made once and then kept is there after these.
  for (int connection = 0; connection < 20; ++connection) ASSERT_TRUE(askOnce());
  const HandleCounts first = restingHandles();
  const std::size_t firstMemory = workingSet();
  Progress progress("request connections", perCycle * kCycles);
  for (std::size_t cycle = 1; cycle <= kCycles && !HasFailure(); ++cycle) {
    for (std::size_t connection = 0; connection < perCycle && !HasFailure(); ++connection) {
      EXPECT_TRUE(askOnce());
      progress.advance();
    }
    const std::size_t threads = first.threads + cycle * perCycle;
    EXPECT_TRUE(handlesSettleAt(threads, first.others))
        << handles().threads << " instead of " << threads << " thread objects, and "
        << handles().others << " other handles, " << first.others << " at first, in cycle "
        << cycle;
    count("KiB in cycle " + std::to_string(cycle), workingSet() / kKiB);
  }
  const std::size_t grown = workingSet() - std::min(firstMemory, workingSet());
  count("request connections", perCycle * kCycles);
  count("thread objects more", handles().threads - first.threads);
  count("other handles more", handles().others - first.others);
  count("KiB at first", firstMemory / kKiB);
  count("bytes a connection", grown / (perCycle * kCycles));
  EXPECT_TRUE(isAliveAndAnswers());
}

// The thread of a push connection stays until the service stops, whatever becomes of its client,
// and nobody holds a handle to it. The system here cannot carry ten thousand threads in one
// process, so the service lives several times.
TEST_F(ConnectionSoak, KeepsTheThreadOfAPushRegistrationAndNothingElse) {
  const std::size_t lives = amount(1, 10);
  const std::size_t perLife = amount(200, 1'000);
  Progress progress("push registrations", perLife * lives);
  for (std::size_t life = 1; life <= lives && !HasFailure(); ++life) {
    ASSERT_TRUE(initialise());
    ASSERT_TRUE(logInOnce());
    const std::size_t before = restingHandles().all();
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
    EXPECT_TRUE(waitUntil([&] { return handles().all() <= before + kOfOthers; }, kSettling))
        << handles().all() << " handles in life " << life << ", and " << before << " before";
    count("handles before in life " + std::to_string(life), before);
    count("handles after in life " + std::to_string(life), handles().all());
    count("KiB more in life " + std::to_string(life), (workingSet() - memoryBefore) / kKiB);
    EXPECT_TRUE(isAliveAndAnswers());
    if (stopAndCheck() == Stopped::Wrongly || (life < lives && !startAgain())) break;
  }
  count("push registrations", perLife * lives);
}

}  // namespace
}  // namespace orva_accelerator::test
