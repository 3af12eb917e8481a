// How long the real service runs: until nobody is there who needs it.
#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "ipc/wire/notifications.h"
#include "ipc/wire/pipe_names.h"
#include "tests/support/running_server.h"
#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

using std::chrono::seconds;

constexpr std::uint32_t kClient = 7;
constexpr DWORD kTerminated = 3;
// The service looks every ten seconds whether it is needed.
constexpr seconds kLongerThanACycle{14};
constexpr seconds kUntilItEnds{40};

// A push client in a process of its own that can be killed.
class KillableClient {
 public:
  explicit KillableClient(std::uint32_t id)
      : process_(testFolder() + L"\\push_client_program.exe", {std::to_wstring(id)}) {
    EXPECT_EQ(process_.startError(), 0U);
    EXPECT_TRUE(process_.waitForOutput("registered"));
  }

  // A second handle to the client's end of its pipe, which keeps the connection alive when the
  // process is gone.
  win32::UniqueFileHandle shareConnection() {
    const std::string output = process_.output();
    const auto value = std::strtoull(output.c_str() + std::strlen("pipe "), nullptr, 10);
    HANDLE copy = INVALID_HANDLE_VALUE;
    EXPECT_TRUE(DuplicateHandle(process_.handle(),
                                reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(value)),
                                GetCurrentProcess(), &copy, 0, FALSE, DUPLICATE_SAME_ACCESS))
        << GetLastError();
    return win32::UniqueFileHandle(copy);
  }

  void kill() { process_.kill(); }

 private:
  ChildProcess process_;
};

class ServiceSupervisor : public ServiceFixture {
 protected:
  std::optional<Bytes> ask(std::uint32_t clientId, const char* vector) {
    RequestConnection requests{std::wstring(ipc::kRequestPipeName)};
    Bytes request = goldenVector("requests.json", vector).bytes;
    std::memcpy(request.data() + 20, &clientId, sizeof(clientId));
    return requests.askBytes(request);
  }
  // Logs in until the outcome arrives at the connection.
  void waitUntilRegistered(HANDLE connection) {
    EXPECT_TRUE(waitUntil([&] {
      if (!ask(kClient, "user_login")) return false;
      return waitUntil(
          [&] {
            DWORD waiting = 0;
            EXPECT_TRUE(PeekNamedPipe(connection, nullptr, 0, nullptr, &waiting, nullptr));
            return waiting != 0;
          },
          std::chrono::milliseconds(500));
    }));
  }
  std::size_t stops() { return simulator().logLinesStarting("call Kernel_StopAccel(").size(); }
};

TEST_F(ServiceSupervisor, EndsTheServiceWhenNobodyIsThere) {
  ASSERT_TRUE(installAndStart());
  EXPECT_EQ(waitForEnd(kUntilItEnds), kTerminated);
  EXPECT_THAT(simulator().logLines(), testing::IsEmpty());
}

TEST_F(ServiceSupervisor, KeepsTheServiceForTheHostApplicationWhateverTheCaseOfItsName) {
  const std::filesystem::path program = folder() / L"zANDOR.exe";
  std::filesystem::copy_file(testFolder() + L"\\idle_program.exe", program);
  ChildProcess hostApplication(program.wstring());
  ASSERT_EQ(hostApplication.startError(), 0U);
  ASSERT_TRUE(installAndStart());
  EXPECT_FALSE(waitForEnd(kLongerThanACycle));
  hostApplication.kill();
  EXPECT_EQ(waitForEnd(kUntilItEnds), kTerminated);
}

TEST_F(ServiceSupervisor, KeepsTheServiceForALiveClientAndNotForOneWhoseProcessWasKilled) {
  ASSERT_TRUE(installAndStart());
  KillableClient client(kClient);
  EXPECT_FALSE(waitForEnd(kLongerThanACycle));
  // The connection outlives its process, so nothing but the process tells that the client is gone.
  const win32::UniqueFileHandle connection = client.shareConnection();
  client.kill();
  EXPECT_EQ(waitForEnd(kUntilItEnds), kTerminated);
}

// The types of the notifications that wait in the pipe of a service that has ended; outcomes of
// logins are left out.
std::vector<std::uint32_t> remainingNotifications(HANDLE pipe) {
  std::vector<std::uint32_t> types;
  for (;;) {
    std::uint8_t message[4096];
    DWORD received = 0;
    if (!ReadFile(pipe, message, sizeof(message), &received, nullptr)) return types;
    const auto header = parseNotificationHeader({message, received});
    if (header && header->type != ipc::NotifyUserLogin) types.push_back(header->type);
  }
}

TEST_F(ServiceSupervisor, StopsAccelerationOnceAndTellsNobodyWhenTheLastClientDies) {
  ASSERT_TRUE(installAndStart());
  KillableClient client(kClient);
  const win32::UniqueFileHandle connection = client.shareConnection();
  ASSERT_TRUE(ask(kClient, "sdk_init"));
  waitUntilRegistered(connection.get());
  ASSERT_EQ(ask(kClient, "start_accel_auto"), Bytes{1});
  ASSERT_TRUE(waitUntil([&] {
    return simulator().logLinesStarting("completion Kernel_StartAccel(").size() == 4;
  })) << testing::PrintToString(simulator().logLines());
  EXPECT_EQ(ask(kClient, "query_accel_owner"), (Bytes{1, 1}));
  EXPECT_EQ(stops(), 0U);

  client.kill();
  EXPECT_EQ(waitForEnd(kUntilItEnds), kTerminated);
  EXPECT_EQ(stops(), 1U);
  const std::uint32_t result = ipc::NotifyStartAccel;
  EXPECT_THAT(remainingNotifications(connection.get()),
              testing::ElementsAre(result, result, result, result));
}

}  // namespace
}  // namespace orva_accelerator::test
