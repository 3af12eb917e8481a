// The client for Node.js, run by Node.js for Windows against the installed service: pipes as
// somebody else's runtime uses them.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

using testing::HasSubstr;

// Wine shows this program Windows 10: it does not start on anything older.
bool showWindows10ToNode() {
  HKEY key = nullptr;
  const LSTATUS opened =
      RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Wine\\AppDefaults\\node.exe", 0, nullptr, 0,
                      KEY_SET_VALUE, nullptr, &key, nullptr);
  if (opened != ERROR_SUCCESS) return false;
  const wchar_t version[] = L"win10";
  const LSTATUS written = RegSetValueExW(key, L"Version", 0, REG_SZ,
                                         reinterpret_cast<const BYTE*>(version), sizeof version);
  return RegCloseKey(key) == ERROR_SUCCESS && written == ERROR_SUCCESS;
}

class NodeClient : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(showWindows10ToNode());
    // It asks the system for its version in another way, too, and refuses what Wine says.
    ASSERT_TRUE(SetEnvironmentVariableW(L"NODE_SKIP_PLATFORM_CHECK", L"1"));
    ASSERT_TRUE(SetEnvironmentVariableW(L"NO_COLOR", L"1"));
  }

  static ChildResult runNode(const std::vector<std::wstring>& arguments) {
    return runChild(ORVA_NODE_FOR_WINDOWS, arguments, std::chrono::seconds(150));
  }
};

TEST_F(NodeClient, HasAWholeSession) {
  // On a busy machine, Node.js takes longer to start than the service waits for its first client.
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  const ChildResult result = runNode(
      {ORVA_SOURCES L"/clients/node/session.mjs", L"player", L"secret", L"1001", L"1", L"east-1"});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            "connected\n"
            "initialised\n"
            "logged in\n"
            "state 1: 星河战纪, 上海 电信 01\n"
            "state 2: 星河战纪, 上海 电信 01\n"
            "state 3: 星河战纪, 上海 电信 01\n"
            "state 4: 星河战纪, 上海 电信 01\n"
            "mine: yes\n"
            "game 1001, area 1, node 上海 电信 01\n"
            "used node 101: 上海 电信 01\n"
            "used node 111: 广州 电信 01\n"
            "stopped, code 0\n"
            "left, 0 remain\n");
  // The last client has left.
  EXPECT_TRUE(waitForEnd());
}

TEST_F(NodeClient, KeepsItsPromisesOnScriptedPipes) {
  const ChildResult result = runNode({ORVA_SOURCES L"/tests/node/client.test.mjs"});
  EXPECT_EQ(result.exitCode, 0u) << result.output << result.errors;
  EXPECT_THAT(result.output, HasSubstr("# fail 0\n"));
}

TEST_F(NodeClient, HoldsUpAgainstTheService) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  const ChildResult result = runNode({ORVA_SOURCES L"/tests/node/service.test.mjs"});
  EXPECT_EQ(result.exitCode, 0u) << result.output << result.errors;
  EXPECT_THAT(result.output, HasSubstr("# pass 6\n"));
  EXPECT_TRUE(waitForEnd());
}

}  // namespace
}  // namespace orva_accelerator::test
