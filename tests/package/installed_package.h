// Installs our packages into this Windows installation, and looks at what is there.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "tests/system/service_fixture.h"

namespace orva_accelerator::test {

// The newer ones are developer packages of a version far ahead, made for the tests: one that can be
// installed, one with a step that fails after the files have been replaced and the service
// registered, one that needs more room than there is, and the same for a user who speaks Chinese.
enum class Package { kOrdinary, kDeveloper, kNewer, kNewerFailing, kNewerHuge, kNewerHugeChinese };

// Relative path of each file below a folder, and its content, or a digest of more than a line.
using FileTree = std::map<std::string, std::string>;
FileTree filesBelow(const std::filesystem::path& folder);
void writeFile(const std::filesystem::path& file, const std::string& content);
std::string readFile(const std::filesystem::path& file);

// Each test begins and ends with nothing installed, whatever it does in between. Its own folder(),
// of ServiceFixture, stands for an installation that was made by hand somewhere else.
class InstalledPackage : public ServiceFixture {
 protected:
  ~InstalledPackage() override;
  void SetUp() override;

  // Silently; the installer's exit code.
  std::optional<DWORD> setup(Package package) const;
  std::optional<DWORD> uninstall() const;
  // What the last of them has written.
  std::string log() const;
  // Silently and within this process; the texts of all errors that the installer would show.
  static std::wstring errorsOfSetup(Package package);

  // Whether the process that the manager names is there and executes what is installed, whoever has
  // started it.
  static bool runsInstalledService();

  static std::filesystem::path installFolder();
  static std::filesystem::path installedService() {
    return installFolder() / "OrvaAcceleratorService.exe";
  }
  static std::filesystem::path libraryFolder() { return installFolder() / "accel_sdk" / "sdk_x64"; }

  // What a package consists of, without what only the zip has.
  static FileTree packaged(Package package);
  // What only the zip has, in its folder "client".
  static FileTree clientFiles(Package package);
  static FileTree installed();

  // Whether nothing of a package is left: files, registration, uninstall entry.
  static testing::AssertionResult nothingIsLeft();
  static testing::AssertionResult isRegisteredWith(const std::filesystem::path& path);
  // A value of the entry among the installed programs; nothing without an entry.
  static std::optional<std::wstring> uninstallEntry(const wchar_t* value);

 private:
  std::filesystem::path logFile() const { return folder() / "setup.log"; }
  bool stopInstalledService() const;
  static void removeWhatIsInstalled();
};

}  // namespace orva_accelerator::test
