// Starting, stopping and waiting for the installed service.
#include "client/service_control.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "service/service_identity.h"
#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

using client::Deadline;

const std::wstring kName = service::kServiceName;

Deadline soon() {
  return Deadline::after(std::chrono::milliseconds(50));
}
Deadline patiently() {
  return Deadline::after(std::chrono::seconds(30));
}

class ServiceControl : public ServiceFixture {
 protected:
  static ChildResult orvactl(const std::vector<std::wstring>& arguments) {
    return runChild(shippedFile(L"orvactl.exe"), arguments, std::chrono::seconds(60));
  }
};

// A program that runs and never reports to the manager.
TEST_F(ServiceControl, SaysThatAForeignExecutableDoesNotComeUp) {
  ASSERT_EQ(registerPath(testFolder() + L"\\idle_program.exe", SERVICE_DEMAND_START), 0u);
  const auto started = client::startAndWait(kName, patiently());
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().win32Code, DWORD{ERROR_SERVICE_REQUEST_TIMEOUT});
  EXPECT_EQ(started.error().kind, client::ErrorKind::Timeout);
}

TEST_F(ServiceControl, SaysThatTheExecutableIsMissing) {
  ASSERT_EQ(registerPath(L"C:\\elsewhere\\other.exe", SERVICE_DEMAND_START), 0u);
  const auto started = client::startAndWait(kName, patiently());
  ASSERT_FALSE(started);
  EXPECT_NE(started.error().win32Code, 0u);
}

TEST_F(ServiceControl, SaysThatTheServiceIsDisabled) {
  ASSERT_EQ(registerPath(executable().wstring(), SERVICE_DISABLED), 0u);
  const auto started = client::startAndWait(kName, patiently());
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().win32Code, DWORD{ERROR_SERVICE_DISABLED});
  EXPECT_EQ(started.error().kind, client::ErrorKind::Refused);
}

TEST_F(ServiceControl, StartsWaitsAndStops) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(install());
  const auto first = client::startAndWait(kName, patiently());
  ASSERT_TRUE(first) << client::describe(first.error());
  EXPECT_FALSE(first.value().wasRunning);
  const auto second = client::startAndWait(kName, soon());
  ASSERT_TRUE(second) << client::describe(second.error());
  EXPECT_TRUE(second.value().wasRunning);
  EXPECT_EQ(second.value().processId, first.value().processId);
  EXPECT_TRUE(client::waitUntilRunning(kName, soon()));

  const auto stopped = client::stopAndWait(kName, patiently());
  ASSERT_TRUE(stopped) << client::describe(stopped.error());
  EXPECT_TRUE(stopped.value().wasRunning);
  const auto again = client::stopAndWait(kName, soon());
  ASSERT_TRUE(again) << client::describe(again.error());
  EXPECT_FALSE(again.value().wasRunning);
  EXPECT_TRUE(client::waitUntilEnded(kName, soon()));
}

TEST_F(ServiceControl, StartsAgainAfterTheProcessWasKilled) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  ASSERT_TRUE(TerminateProcess(process(), 9)) << GetLastError();
  const auto ended = client::waitUntilEnded(kName, patiently());
  ASSERT_TRUE(ended) << client::describe(ended.error());
  const auto started = client::startAndWait(kName, patiently());
  ASSERT_TRUE(started) << client::describe(started.error());
  EXPECT_FALSE(started.value().wasRunning);
  EXPECT_NE(started.value().processId, processId());
  EXPECT_TRUE(client::stopAndWait(kName, patiently()));
}

TEST_F(ServiceControl, EndsTheWaitAtTheDeadline) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(install());
  const auto running = client::waitUntilRunning(kName, soon());
  ASSERT_FALSE(running);
  EXPECT_EQ(running.error().kind, client::ErrorKind::Timeout);
  ASSERT_TRUE(start());
  const auto ended = client::waitUntilEnded(kName, soon());
  ASSERT_FALSE(ended);
  EXPECT_EQ(ended.error().kind, client::ErrorKind::Timeout);
}

TEST_F(ServiceControl, EndsTheWaitWhenInterrupted) {
  ASSERT_TRUE(install());
  const win32::UniqueKernelHandle interrupt(CreateEventW(nullptr, TRUE, TRUE, nullptr));
  ASSERT_TRUE(interrupt) << GetLastError();
  const auto running = client::waitUntilRunning(kName, patiently(), interrupt.get());
  ASSERT_FALSE(running);
  EXPECT_EQ(running.error().kind, client::ErrorKind::Interrupted);
}

TEST_F(ServiceControl, OrvactlStartsAndStops) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(install());
  const ChildResult started = orvactl({L"service", L"start"});
  EXPECT_EQ(started.exitCode, 0u) << started.errors;
  EXPECT_TRUE(started.output.starts_with("The service runs, process ")) << started.output;
  const ChildResult running = orvactl({L"service", L"wait"});
  EXPECT_EQ(running.exitCode, 0u) << running.errors;
  const ChildResult late = orvactl({L"service", L"wait", L"ended", L"--timeout", L"50ms"});
  EXPECT_EQ(late.exitCode, 4u) << late.errors;
  const ChildResult stopped = orvactl({L"service", L"stop", L"--json"});
  EXPECT_EQ(stopped.exitCode, 0u) << stopped.errors;
  EXPECT_NE(stopped.output.find(R"("command":"service stop","running":false,"wasRunning":true)"),
            std::string::npos)
      << stopped.output;
  EXPECT_EQ(orvactl({L"service", L"stop"}).output, "The service does not run.\n");
}

TEST_F(ServiceControl, OrvactlRestartsAndTellsTheState) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(install());
  const ChildResult none = orvactl({L"service", L"status", L"--json"});
  EXPECT_EQ(none.exitCode, 3u);
  EXPECT_NE(none.output.find(R"("running":false,"state":"stopped","processId":0})"),
            std::string::npos)
      << none.output;
  const ChildResult first = orvactl({L"service", L"restart", L"--json"});
  EXPECT_EQ(first.exitCode, 0u) << first.errors;
  EXPECT_NE(first.output.find(R"("running":true,"wasRunning":false)"), std::string::npos)
      << first.output;
  const std::string before = orvactl({L"service", L"status"}).output;
  EXPECT_TRUE(before.starts_with("The service is running, process ")) << before;
  const ChildResult second = orvactl({L"service", L"restart", L"--json"});
  EXPECT_NE(second.output.find(R"("running":true,"wasRunning":true)"), std::string::npos)
      << second.output;
  const ChildResult running = orvactl({L"service", L"status"});
  EXPECT_EQ(running.exitCode, 0u);
  EXPECT_NE(running.output, before) << "the same process";
  EXPECT_EQ(orvactl({L"service", L"stop"}).exitCode, 0u);
}

TEST_F(ServiceControl, OrvactlWatchesAgainAfterARestart) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(install());
  // Not even there yet.
  ChildProcess watch(shippedFile(L"orvactl.exe"), {L"watch", L"--reconnect", L"--client-id", L"7"});
  ASSERT_TRUE(start());
  ASSERT_TRUE(watch.waitForOutput("Watching as client 7.\n"));
  EXPECT_EQ(orvactl({L"service", L"restart"}).exitCode, 0u);
  EXPECT_TRUE(
      watch.waitForOutput("Watching as client 7.\n"
                          "The connection has ended; watching again when the service is there.\n"
                          "Watching as client 7.\n"))
      << watch.output() << watch.errors();
  EXPECT_EQ(orvactl({L"service", L"stop"}).exitCode, 0u);
}

TEST_F(ServiceControl, OrvactlWatchesNotAgainUnlessAskedTo) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  ChildProcess watch(shippedFile(L"orvactl.exe"), {L"watch"});
  ASSERT_TRUE(watch.waitForOutput("Watching as client "));
  EXPECT_EQ(orvactl({L"service", L"stop"}).exitCode, 0u);
  EXPECT_EQ(watch.wait(), std::optional<DWORD>(10));
}

TEST_F(ServiceControl, OrvactlBeginsASessionOnlyWithTheSimulatedLibrary) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(install());
  // Another description makes it another library.
  const auto library = folder() / "accel_sdk" / "sdk_x64" / "OpenKernel.dll";
  std::string bytes;
  {
    std::ifstream file(library, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), {});
  }
  const std::wstring description = L"Simulated acceleration";
  const std::string_view words(reinterpret_cast<const char*>(description.data()),
                               description.size() * sizeof(wchar_t));
  const std::size_t at = bytes.find(words);
  ASSERT_NE(at, std::string::npos);
  bytes.at(at) = 'F';
  std::ofstream(library, std::ios::binary | std::ios::trunc) << bytes;
  const ChildResult asked = orvactl({L"session"});
  EXPECT_EQ(asked.exitCode, 2u) << asked.output << asked.errors;
  EXPECT_NE(asked.errors.find("--yes"), std::string::npos) << asked.errors;
  bytes.at(at) = 'S';
  std::ofstream(library, std::ios::binary | std::ios::trunc) << bytes;
  ASSERT_TRUE(start());
  const ChildResult session = orvactl({L"session", L"--arg1", L"1001", L"--nodes", L"101"});
  // Whether the library completed a login that nobody heard of.
  EXPECT_EQ(session.exitCode, 0u) << session.output << session.errors
                                  << testing::PrintToString(simulator().logLines());
}

}  // namespace
}  // namespace orva_accelerator::test
