// Clients that break the protocol, against the installed service. After each of them it is alive
// and answers the next one.
#include <gmock/gmock.h>
#include <windows.h>
// Needs the one before.
#include <psapi.h>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "tests/system/byte_client.h"

namespace orva_accelerator::test {
namespace {

constexpr char kOne[] = "00 00 00 00 04 00 00 00 01 00 00 00";

Bytes joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

using HostileClients = ServiceSession;

TEST_F(HostileClients, AreHungUpOnForEveryHeaderThatIsShort) {
  const Bytes heartbeat = bytesFromHex(kHeartbeat);
  for (std::ptrdiff_t length = 0; length < 24; ++length) {
    SCOPED_TRACE(length);
    ByteClient client;
    EXPECT_TRUE(client.isHungUpOnAfter(Bytes(heartbeat.begin(), heartbeat.begin() + length)));
    ASSERT_TRUE(isAliveAndAnswers());
  }
}

TEST_F(HostileClients, AreHungUpOnForEveryWrongMagic) {
  std::vector<Bytes> magics = {{'P', 'K', 'X', 'R'},
                               {'p', 'l', 'x', 'r'},
                               {'R', 'X', 'L', 'P'},
                               {0, 0, 0, 0},
                               {0xFF, 0xFF, 0xFF, 0xFF}};
  for (unsigned bit = 0; bit < 32; ++bit) {
    Bytes magic = {'P', 'L', 'X', 'R'};
    magic[bit / 8] = static_cast<std::uint8_t>(magic[bit / 8] ^ (1U << bit % 8));
    magics.push_back(magic);
  }
  for (const Bytes& magic : magics) {
    SCOPED_TRACE(hexFromBytes(magic));
    const Bytes heartbeat = bytesFromHex(kHeartbeat);
    ByteClient client;
    EXPECT_TRUE(
        client.isHungUpOnAfter(joined(magic, Bytes(heartbeat.begin() + 4, heartbeat.end()))));
  }
  EXPECT_TRUE(isAliveAndAnswers());
}

TEST_F(HostileClients, AreHungUpOnWhenThePayloadIsShorterThanAnnounced) {
  for (const std::uint32_t announced : {1U, 20U, 65'536U, 1'048'576U, 1'048'577U, 0xFFFFFFFFU}) {
    for (const std::size_t sent : {0U, 1U, 19U, 5'000U}) {
      if (sent >= announced) continue;
      SCOPED_TRACE(testing::Message() << sent << " of " << announced);
      const Bytes payload(sent, 0xAA);
      if (sent != 0) {
        ByteClient inOneMessage;
        EXPECT_TRUE(inOneMessage.isHungUpOnAfter(joined(header(256, announced), payload)));
      }
      ByteClient inTwoMessages;
      inTwoMessages.send(header(256, announced));
      EXPECT_TRUE(inTwoMessages.isHungUpOnAfter(payload));
    }
  }
  EXPECT_TRUE(isAliveAndAnswers());
}

TEST_F(HostileClients, HaveTheExcessOfAPayloadTakenForTheNextHeader) {
  ByteClient polite;
  polite.send(joined(joined(header(512, 3), {1, 2, 3}), header(512, 0)));
  EXPECT_EQ(polite.receive(9), "00 00 00 00 01 00 00 00 00");
  EXPECT_EQ(polite.receive(9), "00 00 00 00 01 00 00 00 00");

  ByteClient hostile;
  hostile.send(joined(header(512, 3), Bytes(5'000, 0xAA)));
  EXPECT_EQ(hostile.receive(9), "00 00 00 00 01 00 00 00 00");
  EXPECT_TRUE(hostile.pipe().endsSilently());
  EXPECT_TRUE(isAliveAndAnswers());
}

// Of every type but the one by which a client leaves.
const std::vector<std::pair<std::uint32_t, std::size_t>> kAnswerLengths = {
    {256, 12},  {257, 12},  {258, 12},  {512, 9},   {1280, 9},  {1281, 9},  {1282, 9},   {1283, 10},
    {1536, 56}, {1537, 32}, {1538, 72}, {1539, 68}, {1540, 36}, {1541, 16}, {65535, 12}, {4711, 8}};

TEST_F(HostileClients, AreAnsweredWhenThePayloadIsAbsentWhateverTheType) {
  // Once before the library is loaded and once with it; the third time after its release.
  for (int round = 0; round < 3; ++round) {
    for (const auto& [type, length] : kAnswerLengths) {
      if (round == 0 && type == 256) continue;
      SCOPED_TRACE(testing::Message() << "type " << type << " in round " << round);
      ByteClient client;
      client.send(header(type, 0));
      EXPECT_EQ(client.pipe().readBytes(length).size(), length);
    }
    ASSERT_TRUE(isAliveAndAnswers());
  }
}

TEST_F(HostileClients, MayLeaveWithoutHavingCome) {
  ByteClient stranger;
  ASSERT_EQ(stranger.ask(kInit, 12), kOne);
  ByteListener listener("07 00 00 00");
  ASSERT_TRUE(listener.hearsOfLogins(stranger));
  // Client 8 leaves; client 7 stays, and so does the service.
  EXPECT_EQ(
      stranger.ask("50 4C 58 52 00 00 00 00 00 07 00 00 00 00 00 00 00 00 00 00 08 00 00 00", 16),
      "00 00 00 00 08 00 00 00 00 00 00 00 01 00 00 00");
  EXPECT_TRUE(isAliveAndAnswers());
}

TEST_F(HostileClients, AreAnsweredWhenTheirTextLengthsLie) {
  ByteClient client;
  EXPECT_EQ(client.ask(kInit, 12), kOne);
  // A login whose texts are said to be 65,535 bytes each, of which none is there.
  client.send(joined(header(257, 4), {0xFF, 0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(client.receive(12), kOne);
  client.send(
      joined(header(1539, 16), {0xE9, 3, 0, 0, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));
  EXPECT_EQ(client.pipe().readBytes(68).size(), 68U);
  client.send(joined(header(256, 12), {1, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0}));
  EXPECT_EQ(client.receive(12), kOne);
  EXPECT_TRUE(isAliveAndAnswers());
}

TEST_F(HostileClients, MayVanishAtAnyMoment) {
  for (int round = 0; round < 20; ++round) {
    ByteClient nothing;
    ByteClient headerOnly;
    headerOnly.send(header(257, 1'000));
    ByteClient unread;
    unread.send(bytesFromHex(kHeartbeat));
    ByteClient many;
    for (int request = 0; request < 5; ++request) many.send(bytesFromHex(kIsInitialised));
  }
  EXPECT_TRUE(isAliveAndAnswers());
}

// As many logins as a thousand in all, each answered; and each completion announced once.
TEST_F(HostileClients, MayRaceAThousandLogins) {
  constexpr int kClients = 16;
  constexpr int kLogins = 63;  // A client.
  constexpr std::size_t kNotification = 28;
  simulator().writeScenario(
      R"({"log": {"enabled": false}, "functions": {"Kernel_UserLoginFromAccount":
          {"completions": [{"afterMs": 1}]}}})");
  ByteClient first;
  ASSERT_EQ(first.ask(kInit, 12), kOne);
  ByteListener listener("07 00 00 00");
  // The first login's handler is there before the race: every later completion finds one.
  ASSERT_TRUE(listener.hearsOfLogins(first));

  std::atomic<int> answered = 0;
  std::vector<std::thread> clients;
  for (int client = 0; client < kClients; ++client) {
    clients.emplace_back([&] {
      ByteClient racer;
      for (int login = 0; login < kLogins; ++login) {
        if (racer.ask(kLogin, 12) == kOne) ++answered;
      }
    });
  }
  constexpr std::size_t kAll = kNotification * kClients * kLogins;
  const Bytes announced = listener.pipe().readBytes(kAll, std::chrono::seconds(60));
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(answered, kClients * kLogins);
  EXPECT_EQ(announced.size(), kAll);
  EXPECT_TRUE(isAliveAndAnswers());
}

// The largest part of the machine's memory that the process has ever held, in bytes.
std::size_t peakWorkingSet(HANDLE process) {
  PROCESS_MEMORY_COUNTERS counters = {};
  counters.cb = sizeof(counters);
  EXPECT_TRUE(K32GetProcessMemoryInfo(process, &counters, sizeof(counters)));
  return counters.PeakWorkingSetSize;
}

constexpr std::size_t kMiB = 1024 * 1024;

TEST_F(HostileClients, MayAnnounceFourGibibytesAHundredTimes) {
  std::vector<std::unique_ptr<ByteClient>> clients;
  for (int client = 0; client < 100; ++client) {
    clients.push_back(std::make_unique<ByteClient>());
    clients.back()->send(header(256, 0xFFFFFFFF));
  }
  // All of them wait, with the service's reads under way, while another one is served.
  ASSERT_TRUE(isAliveAndAnswers());
  const std::size_t waiting = peakWorkingSet(process());
  for (const auto& client : clients) {
    EXPECT_TRUE(client->isHungUpOnAfter(Bytes(100'000, 0xAA)));
  }
  const std::size_t peak = peakWorkingSet(process());
  RecordProperty("waiting_mib", static_cast<int>(waiting / kMiB));
  RecordProperty("peak_mib", static_cast<int>(peak / kMiB));
  EXPECT_GT(peak, kMiB) << "not measured";
  EXPECT_LT(peak, 300 * kMiB);
  EXPECT_TRUE(isAliveAndAnswers());
}

}  // namespace
}  // namespace orva_accelerator::test
