// Responses, connections side by side, and what the server keeps of them.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which it does not include.
#include <psapi.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "tests/ipc/background_call.h"
#include "tests/ipc/channel_test.h"
#include "tests/ipc/scripted_dispatcher.h"
#include "tests/support/import_patch.h"

namespace orva_accelerator::test {
namespace {

std::size_t workingSetMebibytes() {
  PROCESS_MEMORY_COUNTERS memory{};
  EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory)));
  return memory.WorkingSetSize >> 20;
}

class RequestConnection : public ChannelTest {
 protected:
  void SetUp() override { start(); }
};

TEST_F(RequestConnection, CarriesAResponseOf64Kibibytes) {
  RawPipeClient client = connect();
  const Bytes payload = patternBytes(65'536 - 8);
  ASSERT_TRUE(client.write(requestBytes(kEchoType, payload)).done());
  expectEcho(client, payload);
  expectServed(client);
}

TEST_F(RequestConnection, NeitherWritesNorReleasesAResponseOfLengthZero) {
  auto* const kept = new std::uint8_t[4]{1, 2, 3, 4};
  setDispatcher(server_, [kept](const ipc::MessageHeader&, const void*, void*& response,
                                std::uint32_t& length) {
    response = kept;
    length = 0;
  });
  RawPipeClient client = connect();
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(client.write(headerBytes(kEchoType, 0)).done());
    EXPECT_EQ(client.read().message, Bytes(8, 0));
  }
  EXPECT_EQ(Bytes(kept, kept + 4), (Bytes{1, 2, 3, 4}));
  delete[] kept;
}

TEST_F(RequestConnection, AnnouncesTheLengthOfAResponseThatIsMissing) {
  setDispatcher(server_, [](const ipc::MessageHeader&, const void*, void*&, std::uint32_t& length) {
    length = 5;
  });
  RawPipeClient client = connect();
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(client.write(headerBytes(kEchoType, 0)).done());
    EXPECT_EQ(client.read().message, u32Bytes({0, 5}));
  }
}

TEST_F(RequestConnection, HandsItsDispatcherNoResponseOfAnEarlierRequest) {
  std::atomic<bool> clean{true};
  setDispatcher(server_, [&clean](const ipc::MessageHeader& header, const void* payload,
                                  void*& response, std::uint32_t& length) {
    if (response != nullptr || length != 0) clean = false;
    echo(header, payload, response, length);
  });
  RawPipeClient client = connect();
  for (int i = 0; i < 3; ++i) expectServed(client);
  EXPECT_TRUE(clean);
}

TEST_F(RequestConnection, HandlesTheRequestOfAClientThatDoesNotWaitForTheAnswer) {
  std::atomic<int> handled{0};
  setDispatcher(server_, [&handled](const ipc::MessageHeader& header, const void* payload,
                                    void*& response, std::uint32_t& length) {
    if (header.type == kUnansweredType) ++handled;
    echo(header, payload, response, length);
  });
  for (int i = 1; i <= 10; ++i) {
    RawPipeClient client = connect();
    expectServed(client);
    ASSERT_TRUE(client.write(headerBytes(kUnansweredType, 0)).done());
    client.close();
    EXPECT_TRUE(waitUntil([&] { return handled == i; }));
  }
}

// Each request waits in its handler until the other one is there too.
TEST_F(RequestConnection, IsServedInParallelToOthers) {
  std::atomic<int> inside{0};
  setDispatcher(server_, [&inside](const ipc::MessageHeader& header, const void* payload,
                                   void*& response, std::uint32_t& length) {
    ++inside;
    if (waitUntil([&inside] { return inside == 2; })) echo(header, payload, response, length);
  });
  RawPipeClient one = connect();
  RawPipeClient two = connect();
  ASSERT_TRUE(one.write(headerBytes(kEchoType, 0, 1)).done());
  ASSERT_TRUE(two.write(headerBytes(kEchoType, 0, 2)).done());
  expectEcho(one, {}, kEchoType, 1);
  expectEcho(two, {}, kEchoType, 2);
}

TEST_F(RequestConnection, HandlesItsRequestsOneAfterTheOther) {
  std::atomic<int> inside{0};
  std::atomic<bool> alone{true};
  setDispatcher(server_, [&](const ipc::MessageHeader& header, const void* payload, void*& response,
                             std::uint32_t& length) {
    if (++inside != 1) alone = false;
    echo(header, payload, response, length);
    --inside;
  });
  RawPipeClient client = connect();
  for (std::uint32_t i = 0; i < 20; ++i) {
    ASSERT_TRUE(client.write(headerBytes(kEchoType, 0, i)).done());
  }
  for (std::uint32_t i = 0; i < 20; ++i) expectEcho(client, {}, kEchoType, i);
  EXPECT_TRUE(alone);
}

TEST_F(RequestConnection, IsServedBesideFifteenOthers) {
  std::vector<BackgroundCall> clients;
  std::atomic<int> served{0};
  for (std::uint32_t id = 0; id < 16; ++id) {
    clients.emplace_back([this, id, &served] {
      RawPipeClient client = connect();
      for (std::uint32_t i = 0; i < 50; ++i) {
        const Bytes payload = patternBytes((id * 131 + i * 17) % 9000);
        if (!client.write(requestBytes(kEchoType, payload, id)).done()) return;
        expectEcho(client, payload, kEchoType, id);
      }
      ++served;
    });
  }
  for (const BackgroundCall& client : clients) EXPECT_TRUE(client.ends(4 * kPatience));
  EXPECT_EQ(served, 16);
}

TEST_F(RequestConnection, LeavesItsThreadButNotItsPipeWhenItEnds) {
  for (int i = 0; i < 5; ++i) {
    RawPipeClient client = connect();
    expectServed(client);
  }
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().empty(); }));
  // A client may be served before its thread is entered.
  EXPECT_TRUE(waitUntil([this] { return inspector_.connectionThreadCount() == 5; }));
  EXPECT_TRUE(inspector_.everyConnectionThreadIsJoinable());
}

TEST_F(RequestConnection, IsListedWhileItIsOpen) {
  RawPipeClient one = connect();
  RawPipeClient two = connect();
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().size() == 2; }));
  one.close();
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().size() == 1; }));
  expectServed(two);
}

// Counts the clients that the accept loop has met, and those that had gone before it waited for
// them.
class CountedRequestConnection : public RequestConnection {
 protected:
  CountedRequestConnection() {
    waiting_.replace([this, counts = counts_](HANDLE pipe, LPOVERLAPPED operation) -> BOOL {
      const BOOL connected = waiting_.callOriginal(pipe, operation);
      const DWORD error = GetLastError();
      ++(connected || error == ERROR_PIPE_CONNECTED ? counts->met : counts->missed);
      SetLastError(error);
      return connected;
    });
  }

  struct Counts {
    std::atomic<std::size_t> met{0};
    std::atomic<std::size_t> missed{0};
  };
  const std::shared_ptr<Counts> counts_ = std::make_shared<Counts>();

 private:
  ImportHook<decltype(ConnectNamedPipe)> waiting_{"kernel32.dll", "ConnectNamedPipe"};
};

TEST_F(CountedRequestConnection, MayBeOpenedAndClosedAtOnceAgainAndAgain) {
  for (int i = 0; i < 50; ++i) (void)connect();
  RawPipeClient client = connect();
  expectServed(client);
  // Clients are accepted one after the other, so all others have had their turn. Each that was met
  // has a thread; one that had gone before the wait for it began has cost none.
  EXPECT_EQ(counts_->met + counts_->missed, 51U);
  EXPECT_GT(counts_->met, 1U);
  EXPECT_TRUE(waitUntil([this] { return inspector_.connectionThreadCount() == counts_->met; }));
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().size() == 1; }));
}

// A client's word costs it nothing, so it must not cost the service memory.
TEST_F(RequestConnection, TakesLittleMemoryForAHundredAnnouncementsOfFourGibibytes) {
  const std::size_t before = workingSetMebibytes();
  std::vector<RawPipeClient> liars;
  for (int i = 0; i < 100; ++i) {
    liars.push_back(connect());
    ASSERT_TRUE(liars.back().write(joined(headerBytes(kEchoType, 0xFFFFFFFF), Bytes(100))).done());
  }
  // Those end at once, their message being too short; these wait for their payload.
  for (RawPipeClient& liar : liars) {
    EXPECT_TRUE(liar.endsSilently());
    liar = connect();
    ASSERT_TRUE(liar.write(headerBytes(kEchoType, 0xFFFFFFFF)).done());
  }
  EXPECT_TRUE(waitUntil([this] { return inspector_.requestPipes().size() == 100; }));
  RawPipeClient honest = connect();
  expectServed(honest);
  const std::size_t taken = workingSetMebibytes() - before;
  RecordProperty("WorkingSetMiB", std::to_string(taken));
  EXPECT_LT(taken, 300U);
}

}  // namespace
}  // namespace orva_accelerator::test
