// Installing, replacing and removing the packages, judged by files, registration and processes.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "service/shared_names.h"
#include "tests/package/installed_package.h"

namespace orva_accelerator::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Key;
using testing::Not;

constexpr char kLibrary[] = "accel_sdk/sdk_x64/OpenKernel.dll";
constexpr char kNote[] = "accel_sdk/sdk_x64/PUT-OpenKernel.dll-HERE.txt";
// std::terminate, by way of abort: how a stop ends the service.
constexpr DWORD kTerminated = 3;

// A client that starts the service whenever it does not run, until the end of the block.
class InsistentClient {
 public:
  InsistentClient() : thread_([this] { run(); }) {}
  ~InsistentClient() {
    ended_ = true;
    thread_.join();
  }

 private:
  void run() {
    const win32::UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const win32::UniqueServiceHandle service(
        OpenServiceW(manager.get(), service::kServiceName, SERVICE_START));
    while (!ended_) {
      (void)StartServiceW(service.get(), 0, nullptr);  // Refused most of the time.
      Sleep(20);
    }
  }

  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

class Installer : public InstalledPackage {
 protected:
  ChildResult orvactl(const std::vector<std::wstring>& arguments) const {
    return runChild((installFolder() / "orvactl.exe").wstring(), arguments);
  }

  void installAndRun(Package package) {
    ASSERT_EQ(setup(package), 0u) << log();
    ASSERT_TRUE(startHostApplication());
    ASSERT_TRUE(start());
  }
};

TEST_F(Installer, PutsEverythingInPlaceAndTakesItAwayAgain) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u) << log();
  EXPECT_EQ(installed(), packaged(Package::kOrdinary));
  for (const char* file : {"docs/protocol.md", "docs/protocol-vectors.json", "CHANGELOG.md",
                           "THIRD-PARTY-NOTICES", kNote}) {
    EXPECT_THAT(installed(), Contains(Key(file)));
  }
  EXPECT_THAT(installed(), Not(Contains(Key(kLibrary))));

  ASSERT_TRUE(isRegisteredWith(installedService()));
  EXPECT_EQ(registration()->startType, DWORD{SERVICE_DEMAND_START});
  EXPECT_EQ(registration()->account, L"LocalSystem");
  EXPECT_FALSE(runsInstalledService());

  EXPECT_EQ(uninstallEntry(L"DisplayName"), L"Orva Accelerator Service");
  EXPECT_EQ(uninstallEntry(L"DisplayVersion"), L"" ORVA_VERSION);
  EXPECT_EQ(uninstallEntry(L"Publisher"), L"Orva");

  // An executable that is gone is no reason to leave the registration.
  std::filesystem::remove(installedService());
  EXPECT_EQ(uninstall(), 0u) << log();
  EXPECT_TRUE(nothingIsLeft());
}

TEST_F(Installer, ReplacesAVersionThatRunsWhileAClientStartsItAgain) {
  installAndRun(Package::kDeveloper);
  ASSERT_EQ(orvactl({L"init", L"--channel-id", L"1", L"--channel-name", L"name"}).exitCode, 0u);
  ChildProcess watching((installFolder() / "orvactl.exe").wstring(), {L"watch"});
  ASSERT_TRUE(watching.waitForOutput("Watching"));
  // Named like the service, but not what the manager names.
  const std::filesystem::path namesake = folder() / "namesake" / "OrvaAcceleratorService.exe";
  writeFile(namesake, readFile(testFolder() + L"\\idle_program.exe"));
  ChildProcess unrelated(namesake.wstring());
  ASSERT_EQ(unrelated.startError(), 0u);
  // A prompt that stands in a folder of the installation.
  const win32::UniqueFileHandle prompt(
      CreateFileW((installFolder() / "docs").wstring().c_str(), FILE_LIST_DIRECTORY,
                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                  FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  ASSERT_TRUE(prompt);
  {
    const InsistentClient client;
    ASSERT_EQ(setup(Package::kNewer), 0u) << log();
  }
  EXPECT_EQ(waitForEnd(std::chrono::milliseconds(0)), kTerminated);
  EXPECT_TRUE(watching.wait());
  EXPECT_FALSE(unrelated.wait(std::chrono::milliseconds(0)));
  FileTree files = installed();
  files.erase("accel_sdk/sdk_x64/OpenKernel.calls.log");
  EXPECT_EQ(files, packaged(Package::kNewer));
  EXPECT_TRUE(runsInstalledService());
  ASSERT_TRUE(isRegisteredWith(installedService()));
  EXPECT_EQ(registration()->startType, DWORD{SERVICE_DEMAND_START});
  EXPECT_EQ(uninstallEntry(L"DisplayVersion"), L"99.0.0");
}

TEST_F(Installer, RefusesToReplaceANewerVersionAndRemovesItWhileItRuns) {
  installAndRun(Package::kNewer);
  EXPECT_EQ(setup(Package::kOrdinary), 1603u);
  EXPECT_THAT(log(), HasSubstr("OrvaPrepare: A newer version is installed"));
  EXPECT_TRUE(runsInstalledService());

  ASSERT_EQ(orvactl({L"init", L"--channel-id", L"1", L"--channel-name", L"name"}).exitCode, 0u);
  ASSERT_TRUE(std::filesystem::exists(libraryFolder() / "OpenKernel.calls.log"));
  EXPECT_EQ(uninstall(), 0u) << log();
  EXPECT_EQ(waitForEnd(std::chrono::milliseconds(0)), kTerminated);
  EXPECT_TRUE(nothingIsLeft());
}

TEST_F(Installer, NeverTouchesARealLibrary) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u) << log();
  writeFile(installFolder() / kLibrary, "closed");
  const FileTree before = installed();
  EXPECT_EQ(setup(Package::kNewer), 1603u);
  EXPECT_THAT(log(), HasSubstr("OrvaPrepare: The acceleration library is installed here"));
  EXPECT_EQ(installed(), before);
  EXPECT_EQ(uninstall(), 0u) << log();
  EXPECT_EQ(installed(), (FileTree{{kLibrary, "closed"}}));
  EXPECT_FALSE(registration());
}

// The worst moment: files and registration are replaced, and the old version is about to be
// removed.
TEST_F(Installer, EndsWithTheOldVersionRunningWhenAStepFails) {
  installAndRun(Package::kDeveloper);
  const FileTree before = installed();
  EXPECT_EQ(setup(Package::kNewerFailing), 1603u);
  EXPECT_THAT(log(), HasSubstr("TestFails"));
  EXPECT_TRUE(waitUntil([] { return runsInstalledService(); }));
  ASSERT_TRUE(isRegisteredWith(installedService()));
  EXPECT_EQ(registration()->startType, DWORD{SERVICE_DEMAND_START});
  EXPECT_EQ(installed(), before);
  EXPECT_EQ(uninstallEntry(L"DisplayVersion"), L"" ORVA_VERSION);
}

}  // namespace
}  // namespace orva_accelerator::test
