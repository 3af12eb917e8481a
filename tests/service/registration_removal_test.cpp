// Uninstalling: what the service control manager is asked, how long the service is waited for, and
// what every refusal leads to.
#include <gmock/gmock.h>

#include "service/registration.h"
#include "tests/service/expected_calls.h"
#include "tests/service/fake_service_manager.h"

namespace orva_accelerator::service::test {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

const Calls kOpen = {"OpenSCManagerW(null, null, 0x1)",
                     "OpenServiceW(manager1, \"OrvaAcceleratorService\", 0x10020)",
                     "CloseServiceHandle(manager1)"};
const Calls kStop = {"ControlService(service1, 0x1)"};
const Calls kDelete = {"DeleteService(service1)", "CloseServiceHandle(service1)"};

Calls polls(int count) {
  Calls calls;
  for (int poll = 0; poll < count; ++poll) {
    calls.push_back("Sleep(500)");
    calls.push_back("QueryServiceStatus(service1)");
  }
  return calls;
}

// Also when it is stopping already, and the failed control says so.
TEST(UninstallService, DeletesAtOnceWhenTheStopControlFails) {
  for (const int error : {ERROR_SERVICE_NOT_ACTIVE, ERROR_SERVICE_CANNOT_ACCEPT_CTRL,
                          ERROR_SERVICE_REQUEST_TIMEOUT}) {
    FakeServiceManager manager;
    manager.fail("ControlService", static_cast<DWORD>(error));
    EXPECT_EQ(uninstallService(), 0);
    EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kStop, kDelete}))) << error;
    EXPECT_THAT(manager.leaks(), IsEmpty());
  }
}

TEST(UninstallService, StopsARunningServiceAndPollsTwentyTimesBeforeItDeletes) {
  FakeServiceManager manager;
  manager.states = {SERVICE_STOP_PENDING};
  EXPECT_EQ(uninstallService(), 0);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kStop, polls(20), kDelete})));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

TEST(UninstallService, EndsPollingWhenTheServiceHasStopped) {
  FakeServiceManager manager;
  manager.states = {SERVICE_RUNNING, SERVICE_STOP_PENDING, SERVICE_STOPPED};
  EXPECT_EQ(uninstallService(), 0);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kStop, polls(3), kDelete})));
}

TEST(UninstallService, PollsOnInEveryStateButStopped) {
  FakeServiceManager manager;
  manager.states = {SERVICE_START_PENDING,    SERVICE_STOP_PENDING,  SERVICE_RUNNING,
                    SERVICE_CONTINUE_PENDING, SERVICE_PAUSE_PENDING, SERVICE_PAUSED,
                    SERVICE_STOPPED};
  EXPECT_EQ(uninstallService(), 0);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kStop, polls(7), kDelete})));
}

// As all of them do where rights are enforced.
TEST(UninstallService, PollsOnWhenQueriesFail) {
  FakeServiceManager manager;
  for (int query = 1; query <= 20; ++query) {
    manager.fail("QueryServiceStatus", ERROR_ACCESS_DENIED, query);
  }
  EXPECT_EQ(uninstallService(), 0);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kStop, polls(20), kDelete})));
}

TEST(UninstallService, PollsAServiceThatStillRunsAfterTheStopControl) {
  FakeServiceManager manager;
  manager.stateAfterStop = SERVICE_RUNNING;
  EXPECT_EQ(uninstallService(), 0);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kStop, polls(1), kDelete})));
}

TEST(UninstallService, DoesNotPollInAnyOtherState) {
  for (const int state : {SERVICE_STOPPED, SERVICE_START_PENDING, SERVICE_CONTINUE_PENDING,
                          SERVICE_PAUSE_PENDING, SERVICE_PAUSED}) {
    FakeServiceManager manager;
    manager.stateAfterStop = static_cast<DWORD>(state);
    EXPECT_EQ(uninstallService(), 0);
    EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kStop, kDelete}))) << state;
  }
}

struct RefusedRemoval {
  const char* name;
  const char* function;
  DWORD error;
  int result;
  std::vector<Calls> calls;
};

void PrintTo(const RefusedRemoval& refused, std::ostream* stream) {
  *stream << refused.name;
}

class UninstallServiceRefused : public testing::TestWithParam<RefusedRemoval> {};

TEST_P(UninstallServiceRefused, ReturnsTheResultAndClosesWhatItOpened) {
  FakeServiceManager manager;
  manager.stateAfterStop = SERVICE_STOPPED;
  manager.fail(GetParam().function, GetParam().error);
  EXPECT_EQ(uninstallService(), GetParam().result);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined(GetParam().calls)));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

const RefusedRemoval kRefusedRemovals[] = {
    {"ManagerNotOpened",
     "OpenSCManagerW",
     ERROR_ACCESS_DENIED,
     5,
     {{"OpenSCManagerW(null, null, 0x1)"}}},
    {"ManagerNotOpenedWithoutError",
     "OpenSCManagerW",
     0,
     -1,
     {{"OpenSCManagerW(null, null, 0x1)"}}},
    {"ServiceDoesNotExist", "OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST, 1060, {kOpen}},
    {"ServiceNotOpenedWithoutError", "OpenServiceW", 0, -1, {kOpen}},
    {"DeletionFails",
     "DeleteService",
     ERROR_SERVICE_MARKED_FOR_DELETE,
     1072,
     {kOpen, kStop, kDelete}},
    {"DeletionFailsWithoutError", "DeleteService", 0, -3, {kOpen, kStop, kDelete}},
};

INSTANTIATE_TEST_SUITE_P(Calls, UninstallServiceRefused, testing::ValuesIn(kRefusedRemovals),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace orva_accelerator::service::test
