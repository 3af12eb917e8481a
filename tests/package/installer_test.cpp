// Installing, replacing and removing the packages, judged by files and registration.
#include <gmock/gmock.h>

#include "tests/package/installed_package.h"

namespace orva_accelerator::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Key;
using testing::Not;

constexpr wchar_t kElsewhere[] = L"C:\\elsewhere\\other.exe";
constexpr char kLibrary[] = "accel_sdk/sdk_x64/OpenKernel.dll";
constexpr char kNote[] = "accel_sdk/sdk_x64/PUT-OpenKernel.dll-HERE.txt";
// std::terminate, by way of abort: how a stop ends the service.
constexpr DWORD kTerminated = 3;

class Installer : public InstalledPackage {
 protected:
  // Makes the installed service another version: bytes behind the end of a program do not matter to
  // the system.
  static void ageInstalledService() {
    writeFile(installedService(), readFile(installedService()) + "older");
  }

  ChildResult orvactl(const std::vector<std::wstring>& arguments) const {
    return runChild((installFolder() / "orvactl.exe").wstring(), arguments);
  }
};

TEST_F(Installer, PutsEveryFileOfThePackageInPlace) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  EXPECT_EQ(installed(), packaged(Package::kOrdinary));
  EXPECT_TRUE(std::filesystem::exists(installFolder() / "Uninstall.exe"));
  EXPECT_THAT(installed(), Contains(Key("docs/protocol.md")));
  EXPECT_THAT(installed(), Contains(Key("docs/protocol-vectors.json")));
  EXPECT_THAT(installed(), Contains(Key(kNote)));
  EXPECT_THAT(installed(), Not(Contains(Key(kLibrary))));
}

TEST_F(Installer, LeavesWhatClientsAreWrittenWithToTheZip) {
  for (const Package package : {Package::kOrdinary, Package::kDeveloper}) {
    const FileTree files = clientFiles(package);
    for (const char* file : {"OrvaClient.dll", "include/orva_client.h", "include/orva_answers.h", "lib/OrvaClient.lib",
                             "lib/libOrvaClient.dll.a", "samples/README.md", "samples/c/session.c",
                             "samples/csharp/OrvaSession.csproj", "samples/csharp/Program.cs",
                             "samples/csharp/Protocol.cs", "samples/csharp/ServicePipe.cs",
                             "samples/python/orva_pipes.py", "samples/python/orva_protocol.py",
                             "samples/python/session.py", "node/package.json",
                             "node/index.mjs", "node/index.d.ts", "node/lib/client.mjs"}) {
      EXPECT_THAT(files, Contains(Key(file)));
    }
    EXPECT_EQ(files.size(), 29u);
  }
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  EXPECT_FALSE(std::filesystem::exists(installFolder() / "client"));
}

TEST_F(Installer, RegistersTheService) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  ASSERT_TRUE(isRegisteredWith(installedService()));
  const auto found = registration();
  EXPECT_EQ(found->startType, DWORD{SERVICE_DEMAND_START});
  EXPECT_EQ(found->account, L"LocalSystem");
  EXPECT_EQ(found->displayName, L"Orva Accelerator Service");
}

TEST_F(Installer, EntersTheListOfInstalledPrograms) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  EXPECT_EQ(uninstallEntry(L"DisplayName"), L"Orva Accelerator Service");
  EXPECT_EQ(uninstallEntry(L"DisplayVersion"), L"" ORVA_VERSION);
  EXPECT_EQ(uninstallEntry(L"InstallLocation"), installFolder().wstring());
  EXPECT_EQ(uninstallEntry(L"QuietUninstallString"),
            L"\"" + (installFolder() / "Uninstall.exe").wstring() + L"\" /S");
}

TEST_F(Installer, OfTheDeveloperPackageLeavesAServiceThatWorks) {
  ASSERT_EQ(setup(Package::kDeveloper), 0u);
  EXPECT_EQ(installed(), packaged(Package::kDeveloper));
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(start());
  const ChildResult answer = orvactl({L"init", L"--channel-id", L"1", L"--channel-name", L"name"});
  EXPECT_EQ(answer.exitCode, 0u) << answer.errors;
  EXPECT_THAT(answer.output, HasSubstr("initialised"));
}

TEST_F(Installer, ReplacesAVersionThatRuns) {
  ASSERT_EQ(setup(Package::kDeveloper), 0u);
  ageInstalledService();
  writeFile(installFolder() / "docs" / "page_of_old.md", "old");
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(start());
  ChildProcess watching((installFolder() / "orvactl.exe").wstring(), {L"watch"});
  ASSERT_TRUE(watching.waitForOutput("Watching"));

  ASSERT_EQ(setup(Package::kDeveloper), 0u);
  EXPECT_EQ(waitForEnd(std::chrono::milliseconds(0)), kTerminated);
  EXPECT_TRUE(watching.wait());
  EXPECT_EQ(installed(), packaged(Package::kDeveloper));
  EXPECT_TRUE(isRegisteredWith(installedService()));
  EXPECT_TRUE(start());
}

TEST_F(Installer, PointsARegistrationFromElsewhereToItsService) {
  ASSERT_EQ(registerPath(kElsewhere, SERVICE_AUTO_START), 0u);
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  ASSERT_TRUE(isRegisteredWith(installedService()));
  EXPECT_EQ(registration()->startType, DWORD{SERVICE_AUTO_START});
}

TEST_F(Installer, StopsAServiceThatRunsFromElsewhere) {
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(installAndStart());
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  EXPECT_EQ(waitForEnd(std::chrono::milliseconds(0)), kTerminated);
  EXPECT_TRUE(isRegisteredWith(installedService()));
}

TEST_F(Installer, ChangesNothingWhenTheServiceCannotBeStopped) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  ageInstalledService();
  const FileTree before = installed();
  // Not known to the manager, so nobody can stop it.
  const std::filesystem::path stubborn = folder() / "stubborn" / "OrvaAcceleratorService.exe";
  writeFile(stubborn, readFile(testFolder() + L"\\idle_program.exe"));
  ChildProcess process(stubborn.wstring());
  ASSERT_EQ(process.startError(), 0u);

  EXPECT_EQ(setup(Package::kOrdinary), 2u);
  EXPECT_EQ(installed(), before);
  EXPECT_FALSE(process.wait(std::chrono::milliseconds(0)));
}

TEST_F(Installer, LeavesTheClosedLibraryAlone) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  writeFile(installFolder() / kLibrary, "closed");
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  EXPECT_EQ(readFile(installFolder() / kLibrary), "closed");
}

TEST_F(Installer, OfTheDeveloperPackageDoesNotReplaceTheClosedLibrary) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  writeFile(installFolder() / kLibrary, "closed");
  ageInstalledService();
  const FileTree before = installed();
  EXPECT_EQ(setup(Package::kDeveloper), 2u);
  EXPECT_EQ(installed(), before);
}

TEST_F(Installer, TakesTheSimulatedLibraryAway) {
  ASSERT_EQ(setup(Package::kDeveloper), 0u);
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  EXPECT_EQ(installed(), packaged(Package::kOrdinary));
}

TEST_F(Installer, RepairsWhatWasBrokenOffHalfWay) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  std::filesystem::remove(installedService());
  std::filesystem::remove_all(installFolder() / "docs");
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  EXPECT_EQ(installed(), packaged(Package::kOrdinary));
  EXPECT_TRUE(isRegisteredWith(installedService()));
}

using Uninstaller = Installer;

TEST_F(Uninstaller, LeavesNothing) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  ASSERT_EQ(installed(), packaged(Package::kOrdinary));
  uninstall();
  EXPECT_TRUE(waitUntil([] { return bool(nothingIsLeft()); }, std::chrono::seconds(120)));
  EXPECT_TRUE(nothingIsLeft());
}

TEST_F(Uninstaller, LeavesNothingOfAServiceThatRuns) {
  ASSERT_EQ(setup(Package::kDeveloper), 0u);
  ASSERT_TRUE(startHostApplication());
  ASSERT_TRUE(start());
  ASSERT_EQ(orvactl({L"init"}).exitCode, 0u);
  ASSERT_TRUE(std::filesystem::exists(libraryFolder() / "OpenKernel.calls.log"));
  uninstall();
  EXPECT_EQ(waitForEnd(std::chrono::seconds(120)), kTerminated);
  EXPECT_TRUE(waitUntil([] { return bool(nothingIsLeft()); }, std::chrono::seconds(120)));
  EXPECT_TRUE(nothingIsLeft());
}

TEST_F(Uninstaller, SucceedsWithoutARegistration) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  ASSERT_EQ(runChild(installedService().wstring(), {L"uninstall"}).exitCode, 0u);
  uninstall();
  EXPECT_TRUE(waitUntil([] { return bool(nothingIsLeft()); }, std::chrono::seconds(120)));
  EXPECT_TRUE(nothingIsLeft());
}

TEST_F(Uninstaller, LeavesTheFilesOfOthers) {
  ASSERT_EQ(setup(Package::kOrdinary), 0u);
  ASSERT_EQ(installed(), packaged(Package::kOrdinary));
  writeFile(installFolder() / "others.txt", "of others");
  uninstall();
  EXPECT_TRUE(waitUntil([] { return !uninstallEntry(L"DisplayName"); }, std::chrono::seconds(120)));
  EXPECT_EQ(filesBelow(installFolder()), (FileTree{{"others.txt", "of others"}}));
  EXPECT_FALSE(registration());
}

}  // namespace
}  // namespace orva_accelerator::test
