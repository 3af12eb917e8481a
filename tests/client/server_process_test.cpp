#include "client/server_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "client/pipe_opener.h"
#include "client/push_channel.h"
#include "tests/client/deadlines.h"
#include "tests/client/server_end.h"
#include "tests/support/import_patch.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::client {
namespace {

using test::ImportHook;
using test::ServerEnd;

// A pipe that this process serves itself, and a service control manager that tells what the test
// wants of the service's process.
class ServerProcess : public testing::Test {
 protected:
  ServerProcess() {
    openManager_.replace([](LPCWSTR, LPCWSTR, DWORD) { return reinterpret_cast<SC_HANDLE>(0x11); });
    openService_.replace([this](SC_HANDLE, LPCWSTR name, DWORD) {
      askedFor_ = name;
      return reinterpret_cast<SC_HANDLE>(0x22);
    });
    closeHandle_.replace([](SC_HANDLE) { return TRUE; });
  }

  // What the manager says one time after the other; the last goes on.
  void serviceRunsAs(std::vector<DWORD> processIds, DWORD state = SERVICE_RUNNING) {
    query_.replace(
        [this, processIds, state](SC_HANDLE, SC_STATUS_TYPE, LPBYTE buffer, DWORD, LPDWORD) {
          auto& status = *reinterpret_cast<SERVICE_STATUS_PROCESS*>(buffer);
          status.dwProcessId = processIds[std::min(asked_++, processIds.size() - 1)];
          status.dwCurrentState = state;
          return TRUE;
        });
  }

  Result<MessagePipe> open(const Deadline& deadline = patient()) {
    return openPipe(Endpoint{name_, true, L"SomeService"}, deadline, "open the test pipe");
  }

  std::wstring name_ = test::uniquePipeName(L"verified");
  ServerEnd end_{name_};
  std::wstring askedFor_;
  std::size_t asked_ = 0;
  ImportHook<decltype(OpenSCManagerW)> openManager_{"advapi32.dll", "OpenSCManagerW"};
  ImportHook<decltype(OpenServiceW)> openService_{"advapi32.dll", "OpenServiceW"};
  ImportHook<decltype(QueryServiceStatusEx)> query_{"advapi32.dll", "QueryServiceStatusEx"};
  ImportHook<decltype(CloseServiceHandle)> closeHandle_{"advapi32.dll", "CloseServiceHandle"};
};

TEST_F(ServerProcess, IsAcceptedWhenItIsTheServices) {
  serviceRunsAs({GetCurrentProcessId()});
  EXPECT_TRUE(open().ok());
  EXPECT_EQ(askedFor_, L"SomeService");
  EXPECT_EQ(std::get<2>(openManager_.calls().at(0)), DWORD{SC_MANAGER_CONNECT});
  EXPECT_EQ(std::get<2>(openService_.calls().at(0)), DWORD{SERVICE_QUERY_STATUS});
  EXPECT_EQ(closeHandle_.callCount(), 4u);
}

TEST_F(ServerProcess, IsRejectedWhenItIsAnother) {
  serviceRunsAs({GetCurrentProcessId() + 4});
  const auto pipe = open(soon());
  ASSERT_FALSE(pipe.ok());
  EXPECT_EQ(pipe.error().kind, ErrorKind::NotTheService);
}

TEST_F(ServerProcess, IsRejectedWhenItsIdWasAnothersWhenThePipeWasMade) {
  serviceRunsAs({GetCurrentProcessId()});
  ImportHook<decltype(GetNamedPipeServerSessionId)> session("kernel32.dll",
                                                            "GetNamedPipeServerSessionId");
  session.replace([](HANDLE, PULONG id) {
    *id = 77;
    return TRUE;
  });
  const auto pipe = open(soon());
  ASSERT_FALSE(pipe.ok());
  EXPECT_EQ(pipe.error().kind, ErrorKind::NotTheService);
  EXPECT_EQ(pipe.error().text, "the pipe was created in session 77, where no service runs");
}

TEST_F(ServerProcess, IsRejectedWhenTheServiceHasAnotherProcessAfterwards) {
  serviceRunsAs({GetCurrentProcessId(), GetCurrentProcessId() + 4});
  EXPECT_EQ(open(soon()).error().kind, ErrorKind::NotTheService);
}

TEST_F(ServerProcess, IsLookedForBehindAnInstanceOfSomebodyElse) {
  serviceRunsAs({GetCurrentProcessId()});
  ImportHook<decltype(GetNamedPipeServerProcessId)> server("kernel32.dll",
                                                           "GetNamedPipeServerProcessId");
  int connections = 0;
  server.replace([&connections](HANDLE, PULONG id) {
    *id = GetCurrentProcessId() + (++connections == 1 ? 4 : 0);
    return TRUE;
  });
  const ServerEnd second(name_);
  EXPECT_TRUE(open().ok());
  EXPECT_EQ(connections, 2);
}

TEST_F(ServerProcess, IsNotLookedForWhenTheServiceDoesNotRun) {
  serviceRunsAs({0}, SERVICE_STOPPED);
  ImportHook<decltype(CreateFileW)> file("kernel32.dll", "CreateFileW");
  EXPECT_EQ(open().error().kind, ErrorKind::NotRunning);
  EXPECT_EQ(file.callCount(), 0u);
}

TEST_F(ServerProcess, IsStartedWhenThatIsAskedFor) {
  ImportHook<decltype(StartServiceW)> start("advapi32.dll", "StartServiceW");
  start.replace([this](auto...) {
    serviceRunsAs({GetCurrentProcessId()});
    return TRUE;
  });
  serviceRunsAs({0}, SERVICE_STOPPED);
  const Endpoint endpoint{name_, true, L"SomeService", true};
  EXPECT_TRUE(openPipe(endpoint, patient(), "open the test pipe").ok());
  EXPECT_EQ(start.callCount(), 1u);
  const ServerEnd second(name_);
  EXPECT_TRUE(openPipe(endpoint, patient(), "open the test pipe").ok());
  EXPECT_EQ(start.callCount(), 1u);
}

TEST_F(ServerProcess, IsNotWaitedForWhenItsStartIsRefused) {
  ImportHook<decltype(StartServiceW)> start("advapi32.dll", "StartServiceW");
  start.failAllCalls(ERROR_SERVICE_DISABLED, FALSE);
  serviceRunsAs({0}, SERVICE_STOPPED);
  const auto pipe = openPipe(Endpoint{name_, true, L"SomeService", true}, patient(), "open");
  EXPECT_EQ(pipe.error().kind, ErrorKind::Refused);
  EXPECT_EQ(pipe.error().win32Code, DWORD{ERROR_SERVICE_DISABLED});
}

TEST_F(ServerProcess, IsKnownToHaveEndedWhenTheConnectionBreaks) {
  serviceRunsAs({GetCurrentProcessId()});
  auto push = PushChannel::registerPush(Endpoint{name_, true, L"SomeService"}, 7, patient());
  ASSERT_TRUE(push.ok()) << describe(push.error());
  ASSERT_TRUE(end_.accept() && end_.read());
  end_.disconnect();
  EXPECT_EQ(push.value().next(soon()).error().text, "the service ended the connection");
  serviceRunsAs({0}, SERVICE_STOPPED);
  const auto next = push.value().next(patient());
  EXPECT_EQ(next.error().kind, ErrorKind::HungUp);
  EXPECT_EQ(next.error().text, "the service has ended");
}

TEST_F(ServerProcess, IsNotWaitedForWhenTheManagersProcessHasEnded) {
  serviceRunsAs({0x7FFFFFFD});
  name_ = test::uniquePipeName(L"nobody");
  EXPECT_EQ(open().error().kind, ErrorKind::NotRunning);
}

TEST_F(ServerProcess, IsWaitedForWhileTheServiceStarts) {
  serviceRunsAs({0}, SERVICE_START_PENDING);
  name_ = test::uniquePipeName(L"nobody");
  EXPECT_EQ(open(soon()).error().kind, ErrorKind::Timeout);
  EXPECT_GT(asked_, 1u);
}

TEST_F(ServerProcess, IsRejectedWhenTheServiceIsNotInstalled) {
  openService_.failAllCalls(ERROR_SERVICE_DOES_NOT_EXIST, nullptr);
  const auto pipe = open();
  EXPECT_EQ(pipe.error().kind, ErrorKind::NotInstalled);
  EXPECT_EQ(pipe.error().win32Code, DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
  EXPECT_EQ(closeHandle_.callCount(), 1u);
}

TEST_F(ServerProcess, IsASystemErrorWhenTheManagerCannotBeReached) {
  openManager_.failAllCalls(ERROR_ACCESS_DENIED, nullptr);
  EXPECT_EQ(open().error().win32Code, DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(closeHandle_.callCount(), 0u);
}

TEST_F(ServerProcess, IsASystemErrorWhenTheServiceCannotBeOpened) {
  openService_.failAllCalls(ERROR_ACCESS_DENIED, nullptr);
  const auto pipe = open();
  EXPECT_EQ(pipe.error().kind, ErrorKind::System);
  EXPECT_EQ(pipe.error().win32Code, DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(ServerProcess, IsASystemErrorWhenTheStatusCannotBeRead) {
  query_.failAllCalls(ERROR_INVALID_HANDLE, FALSE);
  EXPECT_EQ(open().error().win32Code, DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(closeHandle_.callCount(), 2u);
}

TEST_F(ServerProcess, IsASystemErrorWhenThePipeDoesNotTellIt) {
  serviceRunsAs({GetCurrentProcessId()});
  ImportHook<decltype(GetNamedPipeServerProcessId)> server("kernel32.dll",
                                                           "GetNamedPipeServerProcessId");
  server.failAllCalls(ERROR_NOT_SUPPORTED, FALSE);
  EXPECT_EQ(open().error().win32Code, DWORD{ERROR_NOT_SUPPORTED});
}

}  // namespace
}  // namespace orva_accelerator::client
