#include "client/server_process.h"

#include <gtest/gtest.h>

#include "client/pipe_opener.h"
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

  void serviceRunsAs(DWORD processId) {
    query_.replace([processId](SC_HANDLE, SC_STATUS_TYPE, LPBYTE buffer, DWORD, LPDWORD) {
      reinterpret_cast<SERVICE_STATUS_PROCESS*>(buffer)->dwProcessId = processId;
      return TRUE;
    });
  }

  Result<MessagePipe> open() {
    return OpenPipe(Endpoint{name_, true, L"SomeService"}, Deadline::After(test::kPatience),
                    "open the test pipe");
  }

  std::wstring name_ = test::uniquePipeName(L"verified");
  ServerEnd end_{name_};
  std::wstring askedFor_;
  ImportHook<decltype(OpenSCManagerW)> openManager_{"advapi32.dll", "OpenSCManagerW"};
  ImportHook<decltype(OpenServiceW)> openService_{"advapi32.dll", "OpenServiceW"};
  ImportHook<decltype(QueryServiceStatusEx)> query_{"advapi32.dll", "QueryServiceStatusEx"};
  ImportHook<decltype(CloseServiceHandle)> closeHandle_{"advapi32.dll", "CloseServiceHandle"};
};

TEST_F(ServerProcess, IsAcceptedWhenItIsTheServices) {
  serviceRunsAs(GetCurrentProcessId());
  EXPECT_TRUE(open().ok());
  EXPECT_EQ(askedFor_, L"SomeService");
  EXPECT_EQ(std::get<2>(openManager_.calls().at(0)), DWORD{SC_MANAGER_CONNECT});
  EXPECT_EQ(std::get<2>(openService_.calls().at(0)), DWORD{SERVICE_QUERY_STATUS});
  EXPECT_EQ(closeHandle_.callCount(), 2u);
}

TEST_F(ServerProcess, IsRejectedWhenItIsAnother) {
  serviceRunsAs(GetCurrentProcessId() + 4);
  const auto pipe = open();
  ASSERT_FALSE(pipe.ok());
  EXPECT_EQ(pipe.error().kind, ErrorKind::NoService);
}

TEST_F(ServerProcess, IsRejectedWhenTheServiceDoesNotRun) {
  serviceRunsAs(0);
  EXPECT_EQ(open().error().kind, ErrorKind::NoService);
}

TEST_F(ServerProcess, IsRejectedWhenTheServiceIsNotInstalled) {
  openService_.failAllCalls(ERROR_SERVICE_DOES_NOT_EXIST, nullptr);
  const auto pipe = open();
  EXPECT_EQ(pipe.error().kind, ErrorKind::NoService);
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
  ImportHook<decltype(GetNamedPipeServerProcessId)> server("kernel32.dll",
                                                           "GetNamedPipeServerProcessId");
  server.failAllCalls(ERROR_NOT_SUPPORTED, FALSE);
  EXPECT_EQ(open().error().win32Code, DWORD{ERROR_NOT_SUPPORTED});
}

}  // namespace
}  // namespace orva_accelerator::client
