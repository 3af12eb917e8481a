// What stands in the way of an upgrade: it is refused, says why, and the old version runs on.
#include <aclapi.h>
#include <gmock/gmock.h>

#include "service/shared_names.h"
#include "tests/package/foreign_owner.h"
#include "tests/package/installed_package.h"

namespace orva_accelerator::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class InstallerRefuses : public InstalledPackage {
 protected:
  void SetUp() override {
    InstalledPackage::SetUp();
    ASSERT_EQ(setup(Package::kDeveloper), 0u) << log();
    ASSERT_TRUE(startHostApplication());
    ASSERT_TRUE(start());
    before_ = installed();
  }

  // An upgrade that fails ends with the old version, running as before.
  void expectRefused(Package package, const char* words) {
    EXPECT_EQ(setup(package), 1603u);
    EXPECT_THAT(log(), HasSubstr(words));
    EXPECT_EQ(installed(), before_);
    EXPECT_TRUE(waitUntil([] { return runsInstalledService(); }));
  }

 private:
  FileTree before_;
};

TEST_F(InstallerRefuses, WhenAFileIsInUse) {
  const std::wstring page = (installFolder() / "docs" / "orvactl.md").wstring();
  const win32::UniqueFileHandle reader(
      CreateFileW(page.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(reader);
  expectRefused(Package::kNewer, "OrvaCheckFiles: This file is in use");
  EXPECT_THAT(log(), HasSubstr("orvactl.md"));
  EXPECT_EQ(registration()->startType, DWORD{SERVICE_DEMAND_START});
}

TEST_F(InstallerRefuses, WhenThereIsNoSpace) {
  expectRefused(Package::kNewerHuge, "OrvaPrepare: There is not enough space");
  EXPECT_TRUE(isRunning());
}

TEST_F(InstallerRefuses, WhenTheRegistrationIsBeingDeleted) {
  const win32::UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  const win32::UniqueServiceHandle shown(
      OpenServiceW(manager.get(), service::kServiceName, DELETE));
  ASSERT_TRUE(DeleteService(shown.get()));
  expectRefused(Package::kNewer, "OrvaStopService: The service's registration cannot be changed");
  EXPECT_TRUE(isRunning());
}

TEST_F(InstallerRefuses, WhenTheFolderBelongsToSomebodyElse) {
  const ForeignOwner owner(installFolder());
  if (!owner.isForeign()) GTEST_SKIP() << "no right to give a folder away";
  expectRefused(Package::kNewer, "OrvaPrepare: This folder was not made by an administrator");
  EXPECT_TRUE(isRunning());
}

TEST_F(InstallerRefuses, InChineseIfThatIsTheUsersLanguage) {
  EXPECT_THAT(errorsOfSetup(Package::kNewerHugeChinese),
              StartsWith(L"OrvaPrepare: \x78C1\x76D8\x7A7A\x95F4\x4E0D\x8DB3"));
}

}  // namespace
}  // namespace orva_accelerator::test
