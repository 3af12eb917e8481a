// Against a service control manager that answers as a test wants.
#include "client/service_control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/client/deadlines.h"
#include "tests/support/child_process.h"
#include "tests/support/import_patch.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::client {
namespace {

using test::ChildProcess;
using test::ImportHook;

constexpr wchar_t kName[] = L"AnyService";

SERVICE_STATUS_PROCESS status(DWORD state, DWORD processId, DWORD exitCode = 0) {
  SERVICE_STATUS_PROCESS answer{};
  answer.dwCurrentState = state;
  answer.dwProcessId = processId;
  answer.dwWin32ExitCode = exitCode;
  return answer;
}

// One service, whose status is the next of `statuses` at each question, and then stays the last
// one.
class ServiceControl : public testing::Test {
 protected:
  ServiceControl() {
    openManager_.replace([this](auto...) { return anyHandle(); });
    openService_.replace([this](auto...) { return anyHandle(); });
    close_.replace([](auto...) { return TRUE; });
    query_.replace([this](SC_HANDLE, SC_STATUS_TYPE, BYTE* buffer, DWORD, DWORD*) {
      const std::size_t at = std::min(asked_++, statuses_.size() - 1);
      *reinterpret_cast<SERVICE_STATUS_PROCESS*>(buffer) = statuses_[at];
      return TRUE;
    });
    start_.replace([](auto...) { return TRUE; });
    control_.replace([](auto...) { return TRUE; });
  }

  SC_HANDLE anyHandle() { return reinterpret_cast<SC_HANDLE>(this); }

  std::vector<SERVICE_STATUS_PROCESS> statuses_{status(SERVICE_STOPPED, 0)};
  std::size_t asked_ = 0;
  ImportHook<decltype(OpenSCManagerW)> openManager_{"advapi32.dll", "OpenSCManagerW"};
  ImportHook<decltype(OpenServiceW)> openService_{"advapi32.dll", "OpenServiceW"};
  ImportHook<decltype(CloseServiceHandle)> close_{"advapi32.dll", "CloseServiceHandle"};
  ImportHook<decltype(QueryServiceStatusEx)> query_{"advapi32.dll", "QueryServiceStatusEx"};
  ImportHook<decltype(StartServiceW)> start_{"advapi32.dll", "StartServiceW"};
  ImportHook<decltype(ControlService)> control_{"advapi32.dll", "ControlService"};
};

// A process that is there until somebody ends it.
class Victim {
 public:
  Victim() { EXPECT_EQ(process_.startError(), 0U); }
  DWORD id() const { return process_.id(); }
  void end(UINT code) {
    EXPECT_TRUE(TerminateProcess(process_.handle(), code));
    EXPECT_TRUE(process_.wait());
  }

 private:
  ChildProcess process_{test::testFolder() + L"\\test_support_child.exe", {L"hang"}};
};

TEST_F(ServiceControl, SaysThatTheManagerCannotBeReached) {
  openManager_.failAllCalls(ERROR_ACCESS_DENIED, nullptr);
  const auto started = startAndWait(kName, patient());
  ASSERT_FALSE(started.ok());
  EXPECT_EQ(describe(started.error()),
            "Could not start the service: the service control manager cannot be reached "
            "(Win32 error 5)");
  EXPECT_EQ(stopAndWait(kName, patient()).error().win32Code, DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(waitUntilRunning(kName, patient()).error().win32Code, DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(waitUntilEnded(kName, patient()).error().win32Code, DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(openService_.callCount(), 0U);
}

TEST_F(ServiceControl, AsksForNoMoreThanItNeeds) {
  statuses_ = {status(SERVICE_RUNNING, GetCurrentProcessId())};
  EXPECT_TRUE(startAndWait(kName, patient()).ok());
  EXPECT_TRUE(waitUntilRunning(kName, patient()).ok());
  statuses_ = {status(SERVICE_STOPPED, 0)};
  EXPECT_TRUE(stopAndWait(kName, patient()).ok());
  EXPECT_TRUE(waitUntilEnded(kName, patient()).ok());
  std::vector<DWORD> rights;
  for (const auto& call : openService_.calls()) rights.push_back(std::get<2>(call));
  EXPECT_EQ(rights,
            (std::vector<DWORD>{SERVICE_START | SERVICE_QUERY_STATUS, SERVICE_QUERY_STATUS,
                                SERVICE_STOP | SERVICE_QUERY_STATUS, SERVICE_QUERY_STATUS}));
  EXPECT_EQ(close_.callCount(), 8U);
}

TEST_F(ServiceControl, SaysThatTheStatusIsRefused) {
  query_.failAllCalls(ERROR_ACCESS_DENIED, FALSE);
  EXPECT_EQ(startAndWait(kName, patient()).error().kind, ErrorKind::Refused);
  EXPECT_EQ(stopAndWait(kName, patient()).error().kind, ErrorKind::Refused);
  EXPECT_EQ(start_.callCount(), 0U);
  EXPECT_EQ(control_.callCount(), 0U);
}

TEST_F(ServiceControl, WaitsForAStartThatHasNoProcessYet) {
  statuses_ = {status(SERVICE_STOPPED, 0), status(SERVICE_START_PENDING, 0),
               status(SERVICE_START_PENDING, GetCurrentProcessId()),
               status(SERVICE_RUNNING, GetCurrentProcessId())};
  const auto started = startAndWait(kName, patient());
  ASSERT_TRUE(started.ok()) << describe(started.error());
  EXPECT_EQ(started.value().processId, GetCurrentProcessId());
  EXPECT_FALSE(started.value().wasRunning);
  EXPECT_EQ(start_.callCount(), 1U);
}

TEST_F(ServiceControl, TakesTheStartOfSomebodyWhoWasFaster) {
  statuses_ = {status(SERVICE_STOPPED, 0), status(SERVICE_RUNNING, GetCurrentProcessId())};
  start_.failCall(1, ERROR_SERVICE_ALREADY_RUNNING, FALSE);
  const auto started = startAndWait(kName, patient());
  ASSERT_TRUE(started.ok()) << describe(started.error());
  EXPECT_FALSE(started.value().wasRunning);
}

TEST_F(ServiceControl, DoesNotRepeatAStartThatIsRefused) {
  start_.failAllCalls(ERROR_SERVICE_DISABLED, FALSE);
  EXPECT_EQ(startAndWait(kName, patient()).error().win32Code, DWORD{ERROR_SERVICE_DISABLED});
  EXPECT_EQ(start_.callCount(), 1U);
}

TEST_F(ServiceControl, TellsThatTheServiceEndedInsteadOfComingUp) {
  statuses_ = {status(SERVICE_STOPPED, 0), status(SERVICE_STOPPED, 0, ERROR_PROCESS_ABORTED)};
  const auto started = startAndWait(kName, patient());
  ASSERT_FALSE(started.ok());
  EXPECT_EQ(started.error().kind, ErrorKind::System);
  EXPECT_EQ(started.error().text, "the service ended instead of coming up");
  EXPECT_EQ(started.error().win32Code, DWORD{ERROR_PROCESS_ABORTED});
}

TEST_F(ServiceControl, TellsWithWhatTheProcessEndedInsteadOfComingUp) {
  Victim service;
  statuses_ = {status(SERVICE_STOPPED, 0), status(SERVICE_START_PENDING, service.id())};
  start_.replace([&](auto...) {
    service.end(9);
    return TRUE;
  });
  const auto started = startAndWait(kName, patient());
  ASSERT_FALSE(started.ok());
  EXPECT_EQ(started.error().text,
            "the service ended instead of coming up; its process ended with 9");
}

TEST_F(ServiceControl, StartsAServiceWhoseProcessHasDiedAsRunning) {
  Victim dead;
  dead.end(3);
  statuses_ = {status(SERVICE_RUNNING, dead.id()), status(SERVICE_RUNNING, GetCurrentProcessId())};
  const auto started = startAndWait(kName, patient());
  ASSERT_TRUE(started.ok()) << describe(started.error());
  EXPECT_FALSE(started.value().wasRunning);
  EXPECT_EQ(start_.callCount(), 1U);
}

TEST_F(ServiceControl, OnlyWaitsForAStartThatIsNotItsOwn) {
  EXPECT_EQ(waitUntilRunning(kName, soon()).error().text, "the service did not come up in time");
  EXPECT_EQ(start_.callCount(), 0U);
}

TEST_F(ServiceControl, StopsWaitingWhenInterrupted) {
  const win32::UniqueKernelHandle interrupt(CreateEventW(nullptr, TRUE, TRUE, nullptr));
  ASSERT_TRUE(interrupt);
  statuses_ = {status(SERVICE_START_PENDING, GetCurrentProcessId())};
  EXPECT_EQ(waitUntilRunning(kName, patient(), interrupt.get()).error().kind,
            ErrorKind::Interrupted);
  EXPECT_EQ(stopAndWait(kName, patient(), interrupt.get()).error().kind, ErrorKind::Interrupted);
}

TEST_F(ServiceControl, TellsWithWhatAStoppedProcessEnded) {
  Victim service;
  statuses_ = {status(SERVICE_RUNNING, service.id())};
  // As this service does: it ends inside the request, which then fails.
  control_.replace([&](auto...) {
    service.end(3);
    SetLastError(ERROR_BROKEN_PIPE);
    return FALSE;
  });
  const auto stopped = stopAndWait(kName, patient());
  ASSERT_TRUE(stopped.ok()) << describe(stopped.error());
  EXPECT_TRUE(stopped.value().wasRunning);
  EXPECT_EQ(stopped.value().exitCode, 3U);
}

// The id of the service's process that has gone, which another process has by now.
TEST_F(ServiceControl, IsNotFooledByAnIdThatAnotherProcessHasTakenOver) {
  statuses_ = {status(SERVICE_RUNNING, GetCurrentProcessId()), status(SERVICE_STOPPED, 0)};
  const auto ended = waitUntilEnded(kName, patient());
  ASSERT_TRUE(ended.ok()) << describe(ended.error());
  EXPECT_FALSE(ended.value().wasRunning);
}

TEST_F(ServiceControl, IsNotFooledByATakenOverIdWhileItMayNotOpenTheProcess) {
  ImportHook<decltype(OpenProcess)> open("kernel32.dll", "OpenProcess");
  open.failAllCalls(ERROR_ACCESS_DENIED, nullptr);
  const auto running = status(SERVICE_RUNNING, GetCurrentProcessId());
  statuses_ = {running, running, running, status(SERVICE_RUNNING, GetCurrentProcessId() + 4)};
  const auto ended = waitUntilEnded(kName, patient());
  ASSERT_TRUE(ended.ok()) << describe(ended.error());
  EXPECT_TRUE(ended.value().wasRunning);
  EXPECT_FALSE(ended.value().exitCode);
}

TEST_F(ServiceControl, SendsTheStopAgainUntilItIsTakenAndThenNoMore) {
  statuses_ = {status(SERVICE_RUNNING, GetCurrentProcessId())};
  control_.failCalls(1, 2, ERROR_SERVICE_CANNOT_ACCEPT_CTRL, FALSE);
  const auto stopped = stopAndWait(kName, Deadline::after(std::chrono::milliseconds(500)));
  EXPECT_EQ(stopped.error().text, "the service did not end in time");
  EXPECT_EQ(control_.callCount(), 3U);
}

TEST_F(ServiceControl, NamesTheRefusalWhenAStopIsNeverTaken) {
  statuses_ = {status(SERVICE_START_PENDING, GetCurrentProcessId())};
  control_.failAllCalls(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, FALSE);
  EXPECT_EQ(stopAndWait(kName, soon()).error().win32Code, DWORD{ERROR_SERVICE_CANNOT_ACCEPT_CTRL});
}

TEST_F(ServiceControl, DoesNotRepeatAStopThatIsDenied) {
  statuses_ = {status(SERVICE_RUNNING, GetCurrentProcessId())};
  control_.failAllCalls(ERROR_ACCESS_DENIED, FALSE);
  EXPECT_EQ(stopAndWait(kName, patient()).error().kind, ErrorKind::Refused);
  EXPECT_EQ(control_.callCount(), 1U);
}

}  // namespace
}  // namespace orva_accelerator::client
