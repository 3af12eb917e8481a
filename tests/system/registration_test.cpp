// The command words against the real service control manager, as child processes.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {
namespace {

constexpr DWORD kMinusOne = 0xFFFFFFFF;
constexpr wchar_t kElsewhere[] = L"C:\\elsewhere\\other.exe";

std::wstring upperCase(std::wstring text) {
  std::ranges::transform(text, text.begin(), [](wchar_t c) {
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
  });
  return text;
}

class ServiceCommandWords : public ServiceFixture {
 protected:
  // Whether the registration names this test's executable, letter case aside.
  testing::AssertionResult isRegisteredHere() const {
    const auto found = registration();
    if (!found) return testing::AssertionFailure() << "not registered";
    if (upperCase(found->path) == upperCase(executable().wstring())) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "registered: " << testing::PrintToString(found->path);
  }

  // Output lines end as the C runtime ends lines of a text file.
  static void expectOutcome(const ChildResult& result, DWORD exitCode, const std::string& line) {
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_EQ(result.output, line.empty() ? "" : line + "\r\n");
    EXPECT_EQ(result.errors, "");
  }
};

TEST_F(ServiceCommandWords, InstallRegistersTheExecutable) {
  expectOutcome(runService({L"install"}), 0, "");
  EXPECT_TRUE(isRegisteredHere());
  const auto found = registration();
  ASSERT_TRUE(found);
  EXPECT_EQ(found->type, DWORD{SERVICE_WIN32_OWN_PROCESS});
  EXPECT_EQ(found->startType, DWORD{SERVICE_DEMAND_START});
  EXPECT_EQ(found->errorControl, DWORD{SERVICE_ERROR_NORMAL});
  EXPECT_EQ(found->account, L"LocalSystem");
  EXPECT_EQ(found->displayName, L"Orva Accelerator Service");
  EXPECT_EQ(found->description, L"Orva \x6E38\x620F\x52A0\x901F\x5668\x540E\x53F0\x670D\x52A1");
}

TEST_F(ServiceCommandWords, InstallAdoptsAnExistingRegistration) {
  ASSERT_EQ(registerPath(kElsewhere, SERVICE_AUTO_START), 0u);
  expectOutcome(runService({L"install"}), 0, "");
  const auto found = registration();
  ASSERT_TRUE(found);
  EXPECT_EQ(found->path, kElsewhere);
  EXPECT_EQ(found->startType, DWORD{SERVICE_AUTO_START});
  EXPECT_EQ(found->displayName, L"Somebody's own name");
  EXPECT_EQ(found->description, L"Orva \x6E38\x620F\x52A0\x901F\x5668\x540E\x53F0\x670D\x52A1");
}

TEST_F(ServiceCommandWords, UpdateRegistersTheRunningExecutable) {
  ASSERT_EQ(registerPath(kElsewhere, SERVICE_AUTO_START), 0u);
  expectOutcome(runService({L"update"}), 0, "Service path updated successfully.");
  EXPECT_TRUE(isRegisteredHere());
  const auto found = registration();
  ASSERT_TRUE(found);
  EXPECT_EQ(found->startType, DWORD{SERVICE_AUTO_START});
  EXPECT_EQ(found->errorControl, DWORD{SERVICE_ERROR_IGNORE});
  EXPECT_EQ(found->displayName, L"Somebody's own name");
}

TEST_F(ServiceCommandWords, UpdateReplacesAPathThatOnlyHasAPrefixAndOtherLetterCase) {
  const std::wstring registered = L"\\\\?\\" + upperCase(executable().wstring());
  ASSERT_EQ(registerPath(registered, SERVICE_DEMAND_START), 0u);
  expectOutcome(runService({L"update"}), 0, "Service path updated successfully.");
  EXPECT_TRUE(isRegisteredHere());
}

TEST_F(ServiceCommandWords, UpdateSaysThatNothingIsInstalled) {
  expectOutcome(runService({L"update"}), kMinusOne,
                "Failed to update service path: Service not installed (error code: -1)");
}

TEST_F(ServiceCommandWords, UninstallDeletesAStoppedService) {
  ASSERT_TRUE(install());
  expectOutcome(runService({L"uninstall"}), 0, "Service uninstalled successfully.");
  EXPECT_FALSE(registration());
}

TEST_F(ServiceCommandWords, UninstallStopsAndDeletesARunningService) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  expectOutcome(runService({L"uninstall"}), 0, "Service uninstalled successfully.");
  EXPECT_EQ(waitForEnd(), 3u);
  EXPECT_TRUE(waitUntil([] { return !registration(); }));
}

TEST_F(ServiceCommandWords, UninstallSaysThatTheServiceDoesNotExist) {
  expectOutcome(runService({L"uninstall"}), ERROR_SERVICE_DOES_NOT_EXIST,
                "Failed to uninstall service, error code: 1060");
}

TEST_F(ServiceCommandWords, ReinstallInstallsWhatIsNotInstalled) {
  expectOutcome(runService({L"reinstall"}), 0, "");
  EXPECT_TRUE(isRegisteredHere());
}

TEST_F(ServiceCommandWords, ReinstallReplacesAnotherRegistration) {
  ASSERT_EQ(registerPath(kElsewhere, SERVICE_AUTO_START), 0u);
  expectOutcome(runService({L"reinstall"}), 0, "");
  EXPECT_TRUE(isRegisteredHere());
  const auto found = registration();
  ASSERT_TRUE(found);
  EXPECT_EQ(found->startType, DWORD{SERVICE_DEMAND_START});
  EXPECT_EQ(found->displayName, L"Orva Accelerator Service");
}

TEST_F(ServiceCommandWords, ReinstallStopsARunningService) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  expectOutcome(runService({L"reinstall"}), 0, "");
  EXPECT_EQ(waitForEnd(), 3u);
  EXPECT_TRUE(isRegisteredHere());
  EXPECT_TRUE(start());
}

TEST_F(ServiceCommandWords, NoArgumentFromACommandLineSaysThatNobodyStartedAService) {
  expectOutcome(runService({}), 1, "StartServiceCtrlDispatcherW failed: 1063");
}

TEST_F(ServiceCommandWords, UnknownWordsAreTakenAsNoArgument) {
  for (const wchar_t* word : {L"start", L"INSTALL", L"install ", L""}) {
    expectOutcome(runService({word}), 1, "StartServiceCtrlDispatcherW failed: 1063");
  }
  EXPECT_FALSE(registration());
}

}  // namespace
}  // namespace orva_accelerator::test
