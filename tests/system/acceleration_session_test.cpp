// A client's acceleration from start to stop at the real service, byte for byte.
#include <gmock/gmock.h>

#include <string>

#include "ipc/wire/messages.h"
#include "ipc/wire/notifications.h"
#include "ipc/wire/pipe_names.h"
#include "ipc/wire/requests.h"
#include "tests/support/running_server.h"
#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

constexpr std::uint32_t kClient = 7;
constexpr DWORD kTerminated = 3;

// Results as the golden vectors have them: progress, then accelerating; a stop with code 0. `%` is
// where a step says when it comes.
constexpr const char* kScenario = R"({"functions": {
  "Kernel_StartAccel": {"completions": [
    {%, "state": 3, "value1": 1, "value2": 2, "value3": 3, "value4": 4, "value5": 5,
     "text1": null, "text2": null},
    {%, "state": 4, "value1": 1001, "value2": 2, "value3": 103, "value4": 104, "value5": 105,
     "text1": "asia-1", "text2": "Node 11"}]},
  "Kernel_StartAccelEx": {"completions": [
    {%, "state": 7, "value1": 0, "value2": 0, "value3": 0, "value4": 0, "value5": 0,
     "text1": "", "text2": ""}]},
  "Kernel_StopAccel": {"completions": [{%, "code": 0}]}}})";

std::string scenario(const std::string& when) {
  std::string text = kScenario;
  for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%')) {
    text.replace(at, 1, when);
  }
  return text;
}

class AccelerationSession : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(startHostApplication());
    ASSERT_TRUE(installAndStart());
  }

  // A registered push connection: logs in until the outcome arrives.
  std::unique_ptr<PushConnection> registered(RequestConnection& requests) {
    auto connection = std::make_unique<PushConnection>(ipc::kPushPipeName, kClient);
    for (int attempt = 0; attempt < 20; ++attempt) {
      EXPECT_TRUE(requests.askBytes(goldenVector("requests.json", "user_login").bytes));
      if (connection->next(std::chrono::milliseconds(500))) return connection;
    }
    ADD_FAILURE() << "not registered";
    return connection;
  }

  void exchange(RequestConnection& requests, const char* request, const char* response) {
    SCOPED_TRACE(request);
    const auto answer = requests.askBytes(goldenVector("requests.json", request).bytes);
    ASSERT_TRUE(answer);
    EXPECT_TRUE(isPayload(goldenVector("responses.json", response), *answer));
  }

  // The next notification that is not the outcome of a login.
  static std::optional<Notification> nextOf(PushConnection& connection) {
    auto next = connection.next();
    while (next && next->type == ipc::NotifyUserLogin) next = connection.next();
    return next;
  }

  static void expectNotification(PushConnection& connection, const char* vector) {
    SCOPED_TRACE(vector);
    const auto notification = nextOf(connection);
    ASSERT_TRUE(notification);
    EXPECT_TRUE(isMessage(goldenVector("notifications.json", vector), notification->bytes));
  }

  void runSession(const std::string& when) {
    simulator().writeScenario(scenario(when));
    RequestConnection requests{std::wstring(ipc::kRequestPipeName)};
    exchange(requests, "sdk_init", "sdk_init_initialised");
    const auto pushes = registered(requests);
    exchange(requests, "query_accel_owner", "query_accel_owner_idle");

    exchange(requests, "start_accel_auto", "start_accel_accepted");
    expectNotification(*pushes, "start_accel_progress_empty_texts");
    expectNotification(*pushes, "start_accel_accelerating");
    exchange(requests, "query_accel_owner", "query_accel_owner_own");
    EXPECT_EQ(requests.ask(kClient + 1, ipc::MsgQueryAccelOwner), (Bytes{1, 0}));

    exchange(requests, "stop_accel", "stop_accel");
    expectNotification(*pushes, "stop_accel_succeeded");
    exchange(requests, "query_accel_owner", "query_accel_owner_idle");

    // The stop of its own that comes first is not reported.
    exchange(requests, "start_accel_ex_auto", "start_accel_ex_accepted");
    expectNotification(*pushes, "start_accel_ex_empty_texts");
    exchange(requests, "query_accel_owner", "query_accel_owner_idle");
    EXPECT_EQ(simulator().logLinesStarting("call Kernel_StopAccel(").size(), 2U);

    exchange(requests, "client_leaving", "client_leaving_last");
    EXPECT_TRUE(pushes->pipe().endsSilently());
    EXPECT_EQ(waitForEnd(), kTerminated);
  }
};

TEST_F(AccelerationSession, IsByteExactWithCompletionsOnTheLibrarysThreads) {
  runSession(R"("afterMs": 20)");
}

TEST_F(AccelerationSession, IsByteExactWithCompletionsInsideTheLibrarysCalls) {
  runSession(R"("inline": true)");
}

TEST_F(AccelerationSession, EndsTheServiceOverAMalformedNodeSelection) {
  RequestConnection requests{std::wstring(ipc::kRequestPipeName)};
  exchange(requests, "sdk_init", "sdk_init_initialised");
  Bytes payload(sizeof(ipc::StartAccelRequest));
  payload[16] = 4;  // The length of the node selection.
  for (const char letter : {'A', 'U', 'T', 'O'}) {
    payload.push_back(static_cast<std::uint8_t>(letter));
  }
  ASSERT_TRUE(requests.pipe().write(requestBytes(kClient, ipc::MsgStartAccel, payload)).done());
  EXPECT_TRUE(requests.pipe().endsSilently());
  EXPECT_EQ(waitForEnd(), kTerminated);
  EXPECT_THAT(simulator().logLinesStarting("call Kernel_StartAccel("), testing::IsEmpty());
}

}  // namespace
}  // namespace orva_accelerator::test
