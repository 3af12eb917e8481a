// Asking whether the service is installed, and reading its configuration.
#include <gmock/gmock.h>

#include "service/registration.h"
#include "tests/service/expected_calls.h"
#include "tests/service/fake_service_manager.h"

namespace orva_accelerator::service::test {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

TEST(IsServiceInstalled, IsTrueWhenTheStatusCanBeQueried) {
  FakeServiceManager manager;
  EXPECT_TRUE(isServiceInstalled());
  EXPECT_THAT(manager.calls(), ElementsAreArray(installedQuestion()));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

TEST(IsServiceInstalled, IsFalseWhenAnyOfItsCallsFails) {
  for (const char* function : {"OpenSCManagerW", "OpenServiceW", "QueryServiceStatus"}) {
    FakeServiceManager manager;
    manager.fail(function, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(isServiceInstalled()) << function;
    EXPECT_THAT(manager.leaks(), IsEmpty()) << function;
  }
}

const Calls kOpen = {"OpenSCManagerW(null, null, 0x1)",
                     "OpenServiceW(manager1, \"OrvaAcceleratorService\", 0x1)"};
const Calls kQuerySize = {"QueryServiceConfigW(service1, null, 0x0)"};
const Calls kQuery = {"QueryServiceConfigW(service1, buffer, size)"};

TEST(QueryServiceConfig, HandsOutTheRegisteredConfiguration) {
  FakeServiceManager manager;
  manager.registeredPath = L"E:\\elsewhere.exe";
  QUERY_SERVICE_CONFIGW* config = nullptr;
  ASSERT_TRUE(queryServiceConfig(config));
  ASSERT_NE(config, nullptr);
  EXPECT_STREQ(config->lpBinaryPathName, L"E:\\elsewhere.exe");
  releaseServiceConfig(config);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kQuerySize, kQuery, closeBoth()})));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

TEST(QueryServiceConfig, ReleasesNothingWhenThereIsNothing) {
  releaseServiceConfig(nullptr);
}

TEST(QueryServiceConfig, QueriesAgainWhenTheSizeIsZeroButTheBufferWasTooSmall) {
  FakeServiceManager manager;
  manager.reportedSize = 0;
  QUERY_SERVICE_CONFIGW* config = nullptr;
  EXPECT_FALSE(queryServiceConfig(config));
  EXPECT_EQ(config, nullptr);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kQuerySize, kQuery, closeBoth()})));
}

// What the size query returns counts for nothing.
TEST(QueryServiceConfig, FailsAtOnceWhenTheSizeIsZeroForAnyOtherReason) {
  for (const int error : {ERROR_SUCCESS, ERROR_ACCESS_DENIED, ERROR_MORE_DATA}) {
    FakeServiceManager manager;
    manager.reportedSize = 0;
    manager.sizeQueryError = static_cast<DWORD>(error);
    QUERY_SERVICE_CONFIGW* config = nullptr;
    EXPECT_FALSE(queryServiceConfig(config));
    EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kQuerySize, closeBoth()})))
        << error;
  }
}

TEST(QueryServiceConfig, QueriesAgainWheneverASizeIsReported) {
  for (const int error : {ERROR_SUCCESS, ERROR_ACCESS_DENIED, ERROR_MORE_DATA}) {
    FakeServiceManager manager;
    manager.sizeQueryError = static_cast<DWORD>(error);
    QUERY_SERVICE_CONFIGW* config = nullptr;
    EXPECT_TRUE(queryServiceConfig(config)) << error;
    EXPECT_THAT(manager.calls(), ElementsAreArray(joined({kOpen, kQuerySize, kQuery, closeBoth()})))
        << error;
    releaseServiceConfig(config);
  }
}

struct RefusedQuery {
  const char* name;
  const char* function;
  int call;
  std::vector<Calls> calls;
};

void PrintTo(const RefusedQuery& refused, std::ostream* stream) {
  *stream << refused.name;
}

class QueryServiceConfigRefused : public testing::TestWithParam<RefusedQuery> {};

TEST_P(QueryServiceConfigRefused, LeavesNullAndClosesWhatItOpened) {
  FakeServiceManager manager;
  manager.fail(GetParam().function, ERROR_ACCESS_DENIED, GetParam().call);
  QUERY_SERVICE_CONFIGW garbage = {};
  QUERY_SERVICE_CONFIGW* config = &garbage;
  EXPECT_FALSE(queryServiceConfig(config));
  EXPECT_EQ(config, nullptr);
  EXPECT_THAT(manager.calls(), ElementsAreArray(joined(GetParam().calls)));
  EXPECT_THAT(manager.leaks(), IsEmpty());
}

const RefusedQuery kRefusedQueries[] = {
    {"ManagerNotOpened", "OpenSCManagerW", 1, {{kOpen[0]}}},
    {"ServiceNotOpened", "OpenServiceW", 1, {kOpen, close("manager")}},
    {"SizeNotTold", "QueryServiceConfigW", 1, {kOpen, kQuerySize, closeBoth()}},
    {"QueryFails", "QueryServiceConfigW", 2, {kOpen, kQuerySize, kQuery, closeBoth()}},
};

INSTANTIATE_TEST_SUITE_P(Calls, QueryServiceConfigRefused, testing::ValuesIn(kRefusedQueries),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace orva_accelerator::service::test
