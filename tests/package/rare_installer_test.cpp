// What seldom meets an installation that succeeds all the same.
#include <aclapi.h>
#include <gmock/gmock.h>
#include <sddl.h>

#include "service/shared_names.h"
#include "tests/package/installed_package.h"

namespace orva_accelerator::test {
namespace {

using testing::HasSubstr;

constexpr wchar_t kElsewhere[] = L"C:\\elsewhere\\other.exe";
constexpr char kLibrary[] = "accel_sdk/sdk_x64/OpenKernel.dll";

class RareInstaller : public InstalledPackage {
 protected:
  static bool deleteRegistration() {
    const win32::UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const win32::UniqueServiceHandle service(
        OpenServiceW(manager.get(), service::kServiceName, DELETE));
    return DeleteService(service.get()) != FALSE;
  }

  static bool everybodyMayWrite(const std::filesystem::path& path) {
    BYTE everybody[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof everybody;
    EXPECT_TRUE(CreateWellKnownSid(WinWorldSid, nullptr, everybody, &size));
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    EXPECT_EQ(
        GetNamedSecurityInfoW(path.wstring().c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                              nullptr, nullptr, &list, nullptr, &descriptor),
        DWORD{ERROR_SUCCESS});
    const win32::UniqueLocalMemory released(descriptor);
    for (DWORD i = 0; list != nullptr && i < list->AceCount; ++i) {
      void* entry = nullptr;
      EXPECT_TRUE(GetAce(list, i, &entry));
      auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
      if (EqualSid(everybody, &allowed->SidStart) && (allowed->Mask & FILE_WRITE_DATA)) return true;
    }
    return false;
  }
};

TEST_F(RareInstaller, TakesOverARegistrationFromElsewhere) {
  ASSERT_EQ(registerPath(kElsewhere, SERVICE_AUTO_START), 0u);
  ASSERT_EQ(setup(Package::kOrdinary), 0u) << log();
  ASSERT_TRUE(isRegisteredWith(installedService()));
  EXPECT_EQ(registration()->startType, DWORD{SERVICE_AUTO_START});
}

TEST_F(RareInstaller, LeavesARegistrationElsewhereWhenItIsRemoved) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u) << log();
  ASSERT_TRUE(deleteRegistration());
  ASSERT_EQ(registerPath(kElsewhere, SERVICE_AUTO_START), 0u);
  EXPECT_EQ(uninstall(), 0u) << log();
  EXPECT_TRUE(isRegisteredWith(kElsewhere));
  EXPECT_TRUE(installed().empty());
}

TEST_F(RareInstaller, TakesTheSimulatedLibraryAway) {
  ASSERT_EQ(setup(Package::kDeveloper), 0u) << log();
  ASSERT_EQ(installed(), packaged(Package::kDeveloper));
  ASSERT_EQ(setup(Package::kOrdinary), 0u) << log();
  EXPECT_EQ(installed(), packaged(Package::kOrdinary));
  EXPECT_FALSE(runsInstalledService()) << "started, though it did not run";
}

TEST_F(RareInstaller, LeavesARealLibraryThatHasReplacedTheSimulatedOne) {
  ASSERT_EQ(setup(Package::kDeveloper), 0u) << log();
  writeFile(installFolder() / kLibrary, "closed");
  EXPECT_EQ(uninstall(), 0u) << log();
  EXPECT_EQ(installed(), (FileTree{{kLibrary, "closed"}}));
}

TEST_F(RareInstaller, LeavesTheFilesOfOthers) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u) << log();
  writeFile(installFolder() / "others.txt", "of others");
  EXPECT_EQ(uninstall(), 0u) << log();
  EXPECT_EQ(installed(), (FileTree{{"others.txt", "of others"}}));
  EXPECT_FALSE(registration());
}

TEST_F(RareInstaller, ReportsAProgramThatWindowsWouldStartInstead) {
  const std::filesystem::path shadow = installFolder().root_path() / "Program.exe";
  ASSERT_FALSE(std::filesystem::exists(shadow));
  writeFile(shadow, "shadow");
  EXPECT_EQ(setup(Package::kOrdinary), 0u);
  std::filesystem::remove(shadow);
  EXPECT_THAT(log(), HasSubstr("OrvaPrepare: Windows would start another program"));
  EXPECT_THAT(log(), HasSubstr("C:\\Program.exe"));
}

TEST_F(RareInstaller, ClosesAFolderThatEverybodyCouldWrite) {
  std::filesystem::create_directories(installFolder() / "docs");
  PSECURITY_DESCRIPTOR open = nullptr;
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
      L"D:P(A;OICI;FA;;;WD)", SDDL_REVISION_1, &open, nullptr));
  const win32::UniqueLocalMemory released(open);
  for (const auto& folder : {installFolder(), installFolder() / "docs"}) {
    ASSERT_TRUE(SetFileSecurityW(folder.wstring().c_str(), DACL_SECURITY_INFORMATION, open));
    ASSERT_TRUE(everybodyMayWrite(folder));
  }
  ASSERT_EQ(setup(Package::kOrdinary), 0u) << log();
  EXPECT_FALSE(everybodyMayWrite(installFolder()));
  EXPECT_FALSE(everybodyMayWrite(installFolder() / "docs"));
}

}  // namespace
}  // namespace orva_accelerator::test
