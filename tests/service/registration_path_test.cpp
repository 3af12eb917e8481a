// Pointing the registration at the running executable.
#include <gmock/gmock.h>

#include "service/registration.h"
#include "tests/service/expected_calls.h"
#include "tests/service/fake_service_manager.h"

namespace orva_accelerator::service::test {
namespace {

using testing::Contains;
using testing::ElementsAreArray;
using testing::IsEmpty;

const Calls kTakeOwnPath = {"GetModuleFileNameW(null, 0x104)"};
const Calls kOpenToChange = {"OpenSCManagerW(null, null, 0x1)",
                             "OpenServiceW(manager2, \"OrvaAcceleratorService\", 0x2)"};
const Calls kChange = {
    "ChangeServiceConfigW(service2, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, "
    "\"C:\\Game\\OrvaAcceleratorService.exe\", null, null, null, null, null, null)"};
const Calls kReadBack = {"OpenSCManagerW(null, null, 0x1)",
                         "OpenServiceW(manager3, \"OrvaAcceleratorService\", 0x1)",
                         "QueryServiceConfigW(service3, null, 0x0)",
                         "QueryServiceConfigW(service3, buffer, size)",
                         "CloseServiceHandle(service3)",
                         "CloseServiceHandle(manager3)"};

TEST(UpdateServicePath, ChangesThePathAndNothingElseAndReadsItBack) {
  FakeServiceManager manager;
  EXPECT_EQ(updateServicePath(), 0);
  EXPECT_THAT(
      manager.calls(),
      ElementsAreArray(joined({installedQuestion(),
                               kTakeOwnPath,
                               kOpenToChange,
                               kChange,
                               closeBoth(2, 2),
                               kReadBack,
                               {"CompareStringOrdinal(\"C:\\Game\\OrvaAcceleratorService.exe\", "
                                "\"C:\\Game\\OrvaAcceleratorService.exe\", 1)"}})));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

TEST(UpdateServicePath, SucceedsWhenTheRegisteredPathHasAPrefixAndOtherLetterCase) {
  FakeServiceManager manager;
  manager.registeredPath = L"\\\\?\\c:\\GAME\\orvaacceleratorservice.EXE";
  EXPECT_EQ(updateServicePath(), 0);
  EXPECT_THAT(manager.calls(),
              Contains("CompareStringOrdinal(\"c:\\GAME\\orvaacceleratorservice.EXE\", "
                       "\"C:\\Game\\OrvaAcceleratorService.exe\", 1)"));
}

TEST(UpdateServicePath, IgnoresAPrefixOfTheNewPathToo) {
  FakeServiceManager manager;
  manager.ownPath = L"\\\\?\\C:\\Game\\OrvaAcceleratorService.exe";
  EXPECT_EQ(updateServicePath(), 0);
}

TEST(UpdateServicePath, SucceedsWhenReadingTheConfigurationBackFails) {
  const std::pair<const char*, int> calls[] = {
      {"OpenSCManagerW", 3}, {"OpenServiceW", 3}, {"QueryServiceConfigW", 1}};
  for (const auto& [function, call] : calls) {
    FakeServiceManager manager;
    manager.fail(function, ERROR_SERVICE_DOES_NOT_EXIST, call);
    EXPECT_EQ(updateServicePath(), 0) << function;
    EXPECT_EQ(manager.count("CompareStringOrdinal"), 0);
    EXPECT_THAT(manager.leaks(), IsEmpty());
  }
}

TEST(UpdateServicePath, ReturnsMinusFourWhenAnotherPathIsRegisteredAfterwards) {
  for (const wchar_t* path :
       {L"C:\\Game\\Other.exe", L"C:\\Game\\OrvaAcceleratorService.exe ", L"\\\\?\\", L"\\\\?", L"",
        L"\\??\\C:\\Game\\OrvaAcceleratorService.exe",
        L"\"C:\\Game\\OrvaAcceleratorService.exe\""}) {
    FakeServiceManager manager;
    manager.registeredPath = path;
    EXPECT_EQ(updateServicePath(), -4) << manager.calls().back();
    EXPECT_THAT(manager.leaks(), IsEmpty());
  }
}

TEST(UpdateServicePath, ReturnsMinusFourForTheLongFormOfAPathInTheNetwork) {
  FakeServiceManager manager;
  manager.ownPath = L"\\\\server\\Game\\OrvaAcceleratorService.exe";
  manager.registeredPath = L"\\\\?\\UNC\\server\\Game\\OrvaAcceleratorService.exe";
  EXPECT_EQ(updateServicePath(), -4);
}

TEST(UpdateServicePath, ReturnsMinusFourWhenTheComparisonFails) {
  FakeServiceManager manager;
  manager.fail("CompareStringOrdinal", ERROR_INVALID_PARAMETER);
  EXPECT_EQ(updateServicePath(), -4);
}

// A block of this size is given back to the system when it is freed.
TEST(UpdateServicePath, FreesTheConfigurationThatItReadOrCouldNotRead) {
  for (const bool answered : {true, false}) {
    FakeServiceManager manager;
    manager.reportedSize = 64 * 1024 * 1024;
    if (!answered) manager.fail("QueryServiceConfigW", ERROR_ACCESS_DENIED, 2);
    EXPECT_EQ(updateServicePath(), 0);
    MEMORY_BASIC_INFORMATION memory = {};
    ASSERT_NE(VirtualQuery(manager.configuration, &memory, sizeof memory), 0u);
    EXPECT_NE(memory.State, DWORD{MEM_COMMIT}) << answered;
  }
}

TEST(UpdateServicePath, CutsAPathThatIsTooLong) {
  FakeServiceManager manager;
  manager.ownPath = L"C:\\" + std::wstring(300, L'x');
  manager.registeredPath = manager.ownPath.substr(0, 259);
  EXPECT_EQ(updateServicePath(), 0);
}

TEST(UpdateServicePath, GoesOnWithAnEmptyPathWhenItsOwnCannotBeHad) {
  FakeServiceManager manager;
  manager.fail("GetModuleFileNameW", ERROR_INVALID_HANDLE);
  manager.fail("ChangeServiceConfigW", ERROR_INVALID_PARAMETER);
  EXPECT_EQ(updateServicePath(), -3);
  EXPECT_THAT(manager.calls(),
              Contains("ChangeServiceConfigW(service2, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, \"\", "
                       "null, null, null, null, null, null)"));
}

struct RefusedUpdate {
  const char* name;
  const char* function;
  int call;
  DWORD error;
  int result;
  std::vector<Calls> calls;
};

void PrintTo(const RefusedUpdate& refused, std::ostream* stream) {
  *stream << refused.name;
}

class UpdateServicePathRefused : public testing::TestWithParam<RefusedUpdate> {};

TEST_P(UpdateServicePathRefused, ReturnsTheResultAndClosesWhatItOpened) {
  FakeServiceManager manager;
  manager.fail(GetParam().function, GetParam().error, GetParam().call);
  EXPECT_EQ(updateServicePath(), GetParam().result);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined(GetParam().calls)));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

const RefusedUpdate kRefusedUpdates[] = {
    {"NotInstalled", "OpenServiceW", 1, ERROR_SERVICE_DOES_NOT_EXIST, -1, {notInstalledQuestion()}},
    {"ManagerNotOpened",
     "OpenSCManagerW",
     2,
     ERROR_ACCESS_DENIED,
     -2,
     {installedQuestion(), kTakeOwnPath, {kOpenToChange[0]}}},
    {"ServiceNotOpened",
     "OpenServiceW",
     2,
     ERROR_ACCESS_DENIED,
     -2,
     {installedQuestion(), kTakeOwnPath, kOpenToChange, close("manager", 2)}},
    {"ChangeFails",
     "ChangeServiceConfigW",
     1,
     ERROR_ACCESS_DENIED,
     -3,
     {installedQuestion(), kTakeOwnPath, kOpenToChange, kChange, closeBoth(2, 2)}},
    {"ChangeFailsForADeletedRegistration",
     "ChangeServiceConfigW",
     1,
     ERROR_SERVICE_MARKED_FOR_DELETE,
     -3,
     {installedQuestion(), kTakeOwnPath, kOpenToChange, kChange, closeBoth(2, 2)}},
};

INSTANTIATE_TEST_SUITE_P(Calls, UpdateServicePathRefused, testing::ValuesIn(kRefusedUpdates),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace orva_accelerator::service::test
