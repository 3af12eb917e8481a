// Many clients at once; silent, deaf and dying ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "client/requests.h"
#include "tests/soak/soak_scale.h"
#include "tests/soak/soak_session.h"
#include "tests/soak/witness.h"
#include "tests/support/child_process.h"

namespace orva_accelerator::test {
namespace {

using Clients = std::vector<std::unique_ptr<RawPipeClient>>;

// A machine on which much else runs starts threads slowly.
constexpr std::chrono::seconds kLoadPatience{60};

class Load : public SoakSession {
 protected:
  void TearDown() override {
    report_.write(!HasFailure());
    SoakSession::TearDown();
  }

  Clients connect(std::size_t count) {
    Clients clients;
    while (clients.size() < count && !HasFailure()) {
      clients.push_back(std::make_unique<RawPipeClient>());
      EXPECT_EQ(clients.back()->open(kRequestPipe, kLoadPatience), DWORD{ERROR_SUCCESS});
    }
    return clients;
  }

  void count(const std::string& name, std::size_t value) {
    report_.figure(name, static_cast<std::int64_t>(value));
  }

  SoakReport report_{"load"};
};

TEST_F(Load, AnswersAndNotifiesEveryOneOfManyClientsAtOnce) {
  const std::size_t requestClients = amount(100, 1'000);
  const std::size_t pushClients = amount(50, 500);
  constexpr std::uint32_t kMarker = 0xABCD0001;
  ASSERT_TRUE(initialise());
  const Clients clients = connect(requestClients);
  Clients listeners;
  for (std::size_t id = 1; id <= pushClients; ++id) {
    listeners.push_back(std::make_unique<RawPipeClient>());
    ASSERT_TRUE(registerPush(*listeners.back(), static_cast<std::uint32_t>(id)));
  }
  for (const auto& client : clients) {
    ASSERT_TRUE(client->write(frame(ipc::MsgHeartbeat)).done());
  }
  std::size_t answered = 0;
  for (const auto& client : clients) answered += readAnswer(*client, kLoadPatience);
  EXPECT_EQ(answered, requestClients);

  // The service takes note of a registration just after it has read it, which nobody is told: so
  // the last ones may miss the first announcements.
  ASSERT_TRUE(asksAndIsAnswered(*clients.front(), loginFrame(kMarker)));
  std::size_t notified = 0;
  for (const auto& listener : listeners) {
    bool heard = false;
    for (int attempt = 0; attempt < 5 && !heard; ++attempt) {
      heard = !listener->read(std::chrono::seconds(5)).message.empty();
      if (!heard) (void)asksAndIsAnswered(*clients.front(), loginFrame(kMarker));
    }
    notified += heard;
  }
  EXPECT_EQ(notified, pushClients);
  count("request connections", answered);
  count("push clients notified", notified);
  count("working set MiB", workingSet() / 1024 / 1024);
  EXPECT_TRUE(isAliveAndAnswers());
}

TEST_F(Load, AnswersWorkingClientsBesideSilentOnes) {
  constexpr std::size_t kSilent = 250;
  constexpr std::size_t kWorking = 20;
  const std::size_t questions = amount(20, 500);
  const Clients silent = connect(kSilent);
  std::atomic<std::int64_t> slowestMs = 0;
  std::atomic<std::size_t> unanswered = 0;
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < kWorking; ++number) {
    threads.emplace_back([&] {
      RawPipeClient pipe;
      for (std::size_t question = 0; question < questions; ++question) {
        const auto begun = std::chrono::steady_clock::now();
        if (!asksAndIsAnswered(pipe, frame(ipc::MsgHeartbeat), kLoadPatience)) ++unanswered;
        const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(
                               std::chrono::steady_clock::now() - begun)
                               .count();
        std::int64_t slowest = slowestMs;
        while (taken > slowest && !slowestMs.compare_exchange_weak(slowest, taken)) {
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(unanswered, 0U);
  count("silent connections", silent.size());
  count("working clients", kWorking);
  count("questions", kWorking * questions);
  count("unanswered", unanswered);
  report_.figure("slowest answer, connecting included, ms", slowestMs);
}

TEST_F(Load, AnswersOthersBesideClientsThatNeverRead) {
  const std::size_t deafClients = amount(20, 200);
  ASSERT_TRUE(initialise());
  const client::Bytes question = frame(ipc::MsgGetGameUsedNodeList, client::encodeGame(1001));
  const Clients deaf = connect(deafClients);
  for (const auto& client : deaf) {
    // Until the service waits for the reader and takes no more.
    while (client->write(question, std::chrono::milliseconds(50)).done()) {
    }
  }
  {
    Witness witness;
    EXPECT_TRUE(witness.seesAnswers(40));
    EXPECT_EQ(witness.unanswered(), 0U);
    count("clients that never read", deafClients);
    count("heartbeats answered beside them", witness.asked());
    report_.figure("slowest heartbeat ms", witness.slowest().count());
  }
  for (const auto& client : deaf) client->close();
  EXPECT_TRUE(isAliveAndAnswers());
}

// Nothing, with the test failed, when the program does not begin. Wine swallows one start in some
// thousands: the process ends before main, without a word. That is tried again.
std::unique_ptr<ChildProcess> startDyingClient(const std::wstring& moment, std::size_t clientId) {
  const std::wstring program = testFolder() + L"\\dying_client.exe";
  for (int attempt = 0; attempt < 3; ++attempt) {
    auto client = std::make_unique<ChildProcess>(
        program, std::vector<std::wstring>{moment, std::to_wstring(clientId)});
    EXPECT_EQ(client->startError(), 0U);
    if (client->startError() != 0) return nullptr;
    constexpr std::chrono::milliseconds kNow{0};
    const bool decided = waitUntil(
        [&] { return client->waitForOutput("begun", kNow) || client->wait(kNow); }, kLoadPatience);
    if (client->waitForOutput("begun", kNow)) return client;
    if (!decided) break;
  }
  ADD_FAILURE() << "the client does not begin";
  return nullptr;
}

TEST_F(Load, OutlivesClientsThatAreKilledInTheMiddleOfARequest) {
  const std::size_t kills = amount(20, 1'000);
  constexpr std::array<const wchar_t*, 5> kMoments = {L"connected", L"header", L"unread", L"asking",
                                                      L"registered"};
  ASSERT_TRUE(initialise());
  scenario(R"({"Kernel_GetAccelData": {"blockMs": 500}})");
  Witness witness;
  Progress progress("clients killed", kills);
  std::size_t killed = 0;
  for (; killed < kills && !HasFailure(); ++killed) {
    const auto client = startDyingClient(kMoments[killed % kMoments.size()], killed + 1);
    if (!client) break;
    EXPECT_TRUE(client->waitForOutput("there", kLoadPatience)) << client->errors();
    client->kill();
    // Finds out about the ones that had registered.
    if (killed % 50 == 49) {
      RawPipeClient pipe;
      EXPECT_TRUE(asksAndIsAnswered(pipe, loginFrame()));
    }
    progress.advance();
  }
  EXPECT_TRUE(witness.seesAnswers(2));
  EXPECT_EQ(witness.unanswered(), 0U);
  count("clients killed", killed);
  count("heartbeats answered meanwhile", witness.asked());
  count("unanswered", witness.unanswered());
  EXPECT_TRUE(isAliveAndAnswers());
}

}  // namespace
}  // namespace orva_accelerator::test
