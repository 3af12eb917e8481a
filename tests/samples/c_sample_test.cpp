// The sample in C as a player's PC would run it: in a folder with the DLL, against the installed
// service.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

using testing::HasSubstr;

class CSample : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    if (HasFatalFailure()) return;
    std::filesystem::copy_file(shippedFile(L"samples\\orva_c_sample.exe"), program());
    std::filesystem::copy_file(shippedFile(L"OrvaClient.dll"), folder() / "OrvaClient.dll");
  }

  std::filesystem::path program() const { return folder() / "orva_c_sample.exe"; }
  ChildResult run(const std::wstring& credential) const {
    return runChild(program().wstring(), {L"player", credential, L"1001", L"1", L"east-1"},
                    std::chrono::seconds(60));
  }
};

TEST_F(CSample, HasAWholeSession) {
  ASSERT_TRUE(installAndStart());
  const ChildResult result = run(L"secret");
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            "connected\r\n"
            "initialised\r\n"
            "logged in\r\n"
            "state 1: 星河战纪, 上海 电信 01\r\n"
            "state 2: 星河战纪, 上海 电信 01\r\n"
            "state 3: 星河战纪, 上海 电信 01\r\n"
            "state 4: 星河战纪, 上海 电信 01\r\n"
            "mine: yes\r\n"
            "game 1001, area 1, node 上海 电信 01\r\n"
            "used node 101: 上海 电信 01\r\n"
            "used node 111: 广州 电信 01\r\n"
            "stopped, code 0\r\n"
            "left, 0 remain\r\n");
  // The last client has left.
  EXPECT_TRUE(waitForEnd());
}

TEST_F(CSample, SaysWhyALoginFails) {
  ASSERT_TRUE(installAndStart());
  const ChildResult result = run(L"");
  EXPECT_EQ(result.exitCode, 1u);
  EXPECT_THAT(result.output, HasSubstr("the login was refused, code 1001"));
}

TEST_F(CSample, SaysThatTheServiceIsNotInstalled) {
  const ChildResult result = run(L"secret");
  EXPECT_EQ(result.exitCode, 1u);
  EXPECT_THAT(result.errors, HasSubstr("the service is not installed"));
}

TEST_F(CSample, SaysThatTheServiceDoesNotRun) {
  ASSERT_TRUE(install());
  const ChildResult result = run(L"secret");
  EXPECT_EQ(result.exitCode, 1u);
  EXPECT_THAT(result.errors, HasSubstr("the service is not running"));
}

}  // namespace
}  // namespace orva_accelerator::test
