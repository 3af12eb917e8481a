// The service as the real service control manager starts and stops it.
#include <gmock/gmock.h>

#include "ipc/wire/pipe_names.h"
#include "tests/support/golden_vectors.h"
#include "tests/support/raw_pipe_client.h"
#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

// std::terminate, by way of abort: how a stop ends the process.
constexpr DWORD kTerminated = 3;

class RunningService : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(startHostApplication());
    ASSERT_TRUE(installAndStart());
  }
};

TEST_F(RunningService, AcceptsStopAndShutdown) {
  const auto current = status();
  ASSERT_TRUE(current);
  EXPECT_EQ(current->dwServiceType, DWORD{SERVICE_WIN32_OWN_PROCESS});
  EXPECT_EQ(current->dwCurrentState, DWORD{SERVICE_RUNNING});
  EXPECT_EQ(current->dwControlsAccepted, 5u);
  EXPECT_EQ(current->dwWin32ExitCode, 0u);
  EXPECT_EQ(current->dwCheckPoint, 0u);
  EXPECT_EQ(current->dwWaitHint, 0u);
}

TEST_F(RunningService, HasHighPriority) {
  EXPECT_TRUE(waitUntil([this] { return GetPriorityClass(process()) == HIGH_PRIORITY_CLASS; }));
}

// Stop-pending is the last that the manager hears; Windows then notes the end by itself.
TEST_F(RunningService, EndsThroughTerminateAndWithoutReportingStoppedOnAStop) {
  EXPECT_EQ(stop(), kTerminated);
  const auto last = status();
  ASSERT_TRUE(last);
  if (last->dwCurrentState == SERVICE_STOPPED) {
    EXPECT_EQ(last->dwWin32ExitCode, DWORD{ERROR_PROCESS_ABORTED});
  } else {
    EXPECT_EQ(last->dwCurrentState, DWORD{SERVICE_STOP_PENDING});
    EXPECT_EQ(last->dwWaitHint, 3000u);
  }
}

TEST_F(RunningService, StartsAgainAfterAStop) {
  ASSERT_EQ(stop(), kTerminated);
  const DWORD before = processId();
  ASSERT_TRUE(start());
  EXPECT_NE(processId(), before);
  EXPECT_TRUE(isRunning());
}

TEST_F(RunningService, RunsOnAfterPauseContinueAndInterrogate) {
  // The manager does not pass on what the service does not accept.
  EXPECT_EQ(sendControl(SERVICE_CONTROL_PAUSE), DWORD{ERROR_INVALID_SERVICE_CONTROL});
  EXPECT_EQ(sendControl(SERVICE_CONTROL_CONTINUE), DWORD{ERROR_INVALID_SERVICE_CONTROL});
  EXPECT_EQ(sendControl(SERVICE_CONTROL_INTERROGATE), DWORD{ERROR_SUCCESS});
  const auto current = status();
  ASSERT_TRUE(current);
  EXPECT_EQ(current->dwCurrentState, DWORD{SERVICE_RUNNING});
  EXPECT_EQ(current->dwWaitHint, 0u);
  // Longer than it takes the service to notice a stop.
  EXPECT_EQ(waitForEnd(std::chrono::milliseconds(1500)), std::nullopt);
  EXPECT_EQ(stop(), kTerminated);
}

TEST_F(RunningService, LoadsTheLibraryBesideItAndAnswers) {
  const GoldenVector& request = goldenVector("requests.json", "sdk_init");
  const GoldenVector& response = goldenVector("responses.json", "sdk_init_initialised");
  RawPipeClient client;
  ASSERT_EQ(client.open(ipc::kRequestPipeName), 0u);
  EXPECT_THAT(simulator().logLines(), testing::IsEmpty());
  ASSERT_TRUE(client.write(request.header()).done());
  ASSERT_TRUE(client.write(request.payload()).done());
  EXPECT_TRUE(isMessage(response, client.readBytes(response.bytes.size())));
  EXPECT_EQ(simulator().logLinesStarting("call Kernel_Init(").size(), 1u);
  client.close();
  EXPECT_EQ(stop(), kTerminated);
}

TEST_F(RunningService, FollowsAScenarioThatWasPlacedBeforeTheFirstCall) {
  simulator().writeScenario(R"({"log": {"enabled": false}})");
  const GoldenVector& request = goldenVector("requests.json", "sdk_init");
  RawPipeClient client;
  ASSERT_EQ(client.open(ipc::kRequestPipeName), 0u);
  ASSERT_TRUE(client.write(request.header()).done());
  ASSERT_TRUE(client.write(request.payload()).done());
  EXPECT_EQ(client.readBytes(8).size(), 8u);
  EXPECT_THAT(simulator().logLines(), testing::IsEmpty());
}

TEST_F(ServiceFixture, EndsByItselfWhenNeitherHostNorClientIsThere) {
  ASSERT_TRUE(installAndStart());
  EXPECT_EQ(waitForEnd(std::chrono::seconds(40)), kTerminated);
}

}  // namespace
}  // namespace orva_accelerator::test
