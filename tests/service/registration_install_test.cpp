// Installing and reinstalling: what the service control manager is asked, in which order, and what
// every refusal leads to.
#include "service/registration.h"

#include <gmock/gmock.h>

#include "tests/service/expected_calls.h"
#include "tests/service/fake_service_manager.h"

namespace orva_accelerator::service::test {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

TEST(InstallService, CreatesTheRegistrationWithSecurityAndDescription) {
  FakeServiceManager manager;
  EXPECT_EQ(installService(kInstalledPath), 0);
  EXPECT_THAT(manager.calls(),
              ElementsAreArray(joined({lookForPath(), openForCreation(), create(),
                                       convertSecurity(), applySecurity(), convertDescription(),
                                       writeDescription(), closeBoth()})));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

TEST(InstallService, RewritesOnlySecurityAndDescriptionWhenTheRegistrationExists) {
  FakeServiceManager manager;
  manager.fail("CreateServiceW", ERROR_SERVICE_EXISTS);
  EXPECT_EQ(installService(kInstalledPath), 0);
  EXPECT_THAT(manager.calls(),
              ElementsAreArray(joined({lookForPath(), openForCreation(), create(), openExisting(),
                                       convertSecurity(), applySecurity(), convertDescription(),
                                       writeDescription(), closeBoth()})));
  EXPECT_EQ(manager.count("ChangeServiceConfigW"), 0);
}

TEST(InstallService, ReturnsMinusOneWithoutTouchingTheManagerWhenThePathDoesNotExist) {
  FakeServiceManager manager;
  manager.fail("GetFileAttributesW", ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(installService(kInstalledPath), -1);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({lookForPath()})));
}

TEST(InstallService, AsksOnlyWhetherThePathExists) {
  FakeServiceManager manager;
  manager.attributes = FILE_ATTRIBUTE_DIRECTORY;
  EXPECT_EQ(installService(kInstalledPath), 0);
}

TEST(InstallService, SucceedsWhenTheDescriptionIsRefused) {
  FakeServiceManager manager;
  manager.fail("ChangeServiceConfig2W", ERROR_ACCESS_DENIED);
  EXPECT_EQ(installService(kInstalledPath), 0);
}

TEST(InstallService, WritesAnEmptyDescriptionWhenItsLengthCannotBeHad) {
  FakeServiceManager manager;
  manager.fail("MultiByteToWideChar", ERROR_NO_UNICODE_TRANSLATION);
  EXPECT_EQ(installService(kInstalledPath), 0);
  EXPECT_EQ(manager.count("MultiByteToWideChar"), 1);
  EXPECT_THAT(manager.calls(), testing::Contains("ChangeServiceConfig2W(service1, 0x1, \"\")"));
}

struct RefusedInstall {
  const char* name;
  std::vector<std::pair<const char*, DWORD>> refusals;
  int result;
  std::vector<Calls> calls;
};

void PrintTo(const RefusedInstall& refused, std::ostream* stream) {
  *stream << refused.name;
}

class InstallServiceRefused : public testing::TestWithParam<RefusedInstall> {};

TEST_P(InstallServiceRefused, ReturnsTheResultAndClosesWhatItOpened) {
  FakeServiceManager manager;
  for (const auto& [function, error] : GetParam().refusals) manager.fail(function, error);
  EXPECT_EQ(installService(kInstalledPath), GetParam().result);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined(GetParam().calls)));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

const RefusedInstall kRefusedInstalls[] = {
    {"ManagerNotOpened",
     {{"OpenSCManagerW", ERROR_ACCESS_DENIED}},
     -2,
     {lookForPath(), openForCreation()}},
    {"CreationFails",
     {{"CreateServiceW", ERROR_SERVICE_MARKED_FOR_DELETE}},
     1072,
     {lookForPath(), openForCreation(), create(), close("manager")}},
    {"NameIsAnothersDisplayName",
     {{"CreateServiceW", ERROR_DUPLICATE_SERVICE_NAME}},
     1078,
     {lookForPath(), openForCreation(), create(), close("manager")}},
    {"CreationFailsWithoutError",
     {{"CreateServiceW", 0}},
     -3,
     {lookForPath(), openForCreation(), create(), close("manager")}},
    {"ExistingNotOpened",
     {{"CreateServiceW", ERROR_SERVICE_EXISTS}, {"OpenServiceW", ERROR_ACCESS_DENIED}},
     5,
     {lookForPath(), openForCreation(), create(), openExisting(), close("manager")}},
    {"ExistingNotOpenedWithoutError",
     {{"CreateServiceW", ERROR_SERVICE_EXISTS}, {"OpenServiceW", 0}},
     -4,
     {lookForPath(), openForCreation(), create(), openExisting(), close("manager")}},
    {"SecurityNotConverted",
     {{"ConvertStringSecurityDescriptorToSecurityDescriptorW", ERROR_INVALID_ACL}},
     -5,
     {lookForPath(), openForCreation(), create(), convertSecurity(), closeBoth()}},
    {"SecurityNotApplied",
     {{"SetServiceObjectSecurity", ERROR_ACCESS_DENIED}},
     -6,
     {lookForPath(), openForCreation(), create(), convertSecurity(), applySecurity(),
      convertDescription(), writeDescription(), closeBoth()}},
};

INSTANTIATE_TEST_SUITE_P(Calls, InstallServiceRefused, testing::ValuesIn(kRefusedInstalls),
                         [](const auto& test) { return test.param.name; });

TEST(ReinstallService, InstallsAtOnceWhenNothingIsInstalled) {
  FakeServiceManager manager;
  manager.fail("OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST);
  EXPECT_EQ(reinstallService(kInstalledPath), 0);
  EXPECT_EQ(manager.count("DeleteService"), 0);
  EXPECT_EQ(manager.count("Sleep"), 0);
  EXPECT_EQ(manager.count("CreateServiceW"), 1);
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

TEST(ReinstallService, DeletesAndWaitsUntilTheRegistrationIsGoneBeforeItInstalls) {
  FakeServiceManager manager;
  manager.stateAfterStop = SERVICE_STOPPED;
  // Asked for: whether it is installed, removal, twice whether it is gone.
  manager.fail("OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST, 4);
  EXPECT_EQ(reinstallService(kInstalledPath), 0);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({installedQuestion(1, 1),
                                                        removal(2, 2),
                                                        {"Sleep(500)"},
                                                        installedQuestion(3, 3),
                                                        {"Sleep(500)"},
                                                        notInstalledQuestion(4),
                                                        installation(5, 4)})));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

TEST(ReinstallService, InstallsAfterTenAttemptsWhenTheRegistrationDoesNotGo) {
  FakeServiceManager manager;
  manager.stateAfterStop = SERVICE_STOPPED;
  manager.fail("CreateServiceW", ERROR_SERVICE_MARKED_FOR_DELETE);
  EXPECT_EQ(reinstallService(kInstalledPath), ERROR_SERVICE_MARKED_FOR_DELETE);
  EXPECT_EQ(manager.count("Sleep"), 10);
  EXPECT_EQ(manager.count("QueryServiceStatus"), 11);
  EXPECT_EQ(manager.count("CreateServiceW"), 1);
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

TEST(ReinstallService, TakesAnyRefusedQuestionForAnAnswerThatTheRegistrationIsGone) {
  const std::pair<const char*, int> questions[] = {
      {"OpenSCManagerW", 3}, {"OpenServiceW", 3}, {"QueryServiceStatus", 2}};
  for (const auto& [function, call] : questions) {
    FakeServiceManager manager;
    manager.stateAfterStop = SERVICE_STOPPED;
    manager.fail(function, ERROR_ACCESS_DENIED, call);
    EXPECT_EQ(reinstallService(kInstalledPath), 0);
    EXPECT_EQ(manager.count("Sleep"), 1) << function;
  }
}

TEST(ReinstallService, WaitsForTheServiceToStopAsUninstallingDoes) {
  FakeServiceManager manager;
  manager.states = {SERVICE_RUNNING, SERVICE_STOP_PENDING};
  manager.fail("OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST, 3);
  EXPECT_EQ(reinstallService(kInstalledPath), 0);
  EXPECT_EQ(manager.count("Sleep"), 21);
  EXPECT_EQ(manager.count("DeleteService"), 1);
}

struct RefusedReinstall {
  const char* name;
  const char* function;
  int call;
  DWORD error;
  int result;
};

void PrintTo(const RefusedReinstall& refused, std::ostream* stream) {
  *stream << refused.name;
}

class ReinstallServiceRefused : public testing::TestWithParam<RefusedReinstall> {};

TEST_P(ReinstallServiceRefused, ReturnsTheRemovalsResultAndInstallsNothing) {
  FakeServiceManager manager;
  manager.fail(GetParam().function, GetParam().error, GetParam().call);
  EXPECT_EQ(reinstallService(kInstalledPath), GetParam().result);
  EXPECT_EQ(manager.count("CreateServiceW"), 0);
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

// The first calls of these ask whether the service is installed.
const RefusedReinstall kRefusedReinstalls[] = {
    {"ManagerNotOpened", "OpenSCManagerW", 2, ERROR_ACCESS_DENIED, 5},
    {"ManagerNotOpenedWithoutError", "OpenSCManagerW", 2, 0, -1},
    {"ServiceNotOpened", "OpenServiceW", 2, ERROR_ACCESS_DENIED, 5},
    {"ServiceNotOpenedWithoutError", "OpenServiceW", 2, 0, -1},
    {"ServiceGoneMeanwhile", "OpenServiceW", 2, ERROR_SERVICE_DOES_NOT_EXIST, 1060},
    {"DeletionFails", "DeleteService", 1, ERROR_SERVICE_MARKED_FOR_DELETE, 1072},
    {"DeletionFailsWithoutError", "DeleteService", 1, 0, -3},
};

INSTANTIATE_TEST_SUITE_P(Calls, ReinstallServiceRefused, testing::ValuesIn(kRefusedReinstalls),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace orva_accelerator::service::test
