#include "tests/package/installed_package.h"

#include <fstream>
#include <functional>
#include <sstream>
#include <system_error>

#include "tests/support/process_start.h"

namespace orva_accelerator::test {
namespace {

constexpr wchar_t kUninstallKey[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\OrvaAcceleratorService";
constexpr char kUninstaller[] = "Uninstall.exe";
// An installer compresses and the machine may be busy; a running service is waited for.
constexpr DWORD kSetupPatienceMs = 120'000;

std::filesystem::path packageFolder() {
  return std::filesystem::path(testFolder()).parent_path().parent_path() / "package";
}

std::string packageName(Package package) {
  return std::string(ORVA_PACKAGE) + (package == Package::kDeveloper ? "-developer" : "");
}

bool isWine() {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

// The programs look for /S without quotation marks. Nor may what they start end with them, as what
// a ChildProcess starts does: the uninstaller goes on as a copy of itself.
std::optional<DWORD> runSilently(const std::filesystem::path& program) {
  const std::wstring line = L"\"" + program.wstring() + L"\" /S";
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started = {};
  if (const DWORD error = startProcess(program.wstring(), line, 0, {}, startup, started)) {
    ADD_FAILURE() << program << " cannot be started, error " << error;
    return std::nullopt;
  }
  const win32::UniqueKernelHandle thread(started.hThread);
  const win32::UniqueKernelHandle process(started.hProcess);
  if (WaitForSingleObject(process.get(), kSetupPatienceMs) != WAIT_OBJECT_0) {
    ADD_FAILURE() << program << " does not end";
    (void)TerminateProcess(process.get(), 1);  // It may have ended by itself just now.
    return std::nullopt;
  }
  DWORD code = 0;
  if (!GetExitCodeProcess(process.get(), &code)) return std::nullopt;
  return code;
}

}  // namespace

FileTree filesBelow(const std::filesystem::path& folder) {
  FileTree files;
  if (!std::filesystem::exists(folder)) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    const std::string content = readFile(entry.path());
    files[entry.path().lexically_relative(folder).generic_string()] =
        content.size() < 100 ? content
                             : std::to_string(content.size()) + " bytes, hash " +
                                   std::to_string(std::hash<std::string>()(content));
  }
  return files;
}

void writeFile(const std::filesystem::path& file, const std::string& content) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary);
  out << content;
  out.close();
  EXPECT_TRUE(out) << file;
}

std::string readFile(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void InstalledPackage::SetUp() {
  ServiceFixture::SetUp();
  if (HasFatalFailure()) return;
  // A run that was broken off may have left something in a Windows of our own; on anybody else's,
  // what is there is not ours to erase.
  if (isWine()) removeWhatIsInstalled();
  ASSERT_TRUE(nothingIsLeft());
}

InstalledPackage::~InstalledPackage() {
  if (process() != nullptr) (void)stop();  // Its files cannot be removed while it runs.
  removeWhatIsInstalled();
}

void InstalledPackage::removeWhatIsInstalled() {
  const LSTATUS status = RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kUninstallKey, KEY_WOW64_64KEY, 0);
  EXPECT_TRUE(status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) << status;
  EXPECT_TRUE(waitUntil([] {
    std::error_code error;
    std::filesystem::remove_all(installFolder(), error);
    return !error;
  })) << "the installed files cannot be removed";
}

std::optional<DWORD> InstalledPackage::setup(Package package) {
  return runSilently(packageFolder() / (packageName(package) + "-setup.exe"));
}

void InstalledPackage::uninstall() {
  (void)runSilently(installFolder() / kUninstaller);  // Fails the test if it cannot be run.
}

std::filesystem::path InstalledPackage::installFolder() {
  wchar_t folder[MAX_PATH];
  const DWORD length = GetEnvironmentVariableW(L"ProgramW6432", folder, MAX_PATH);
  EXPECT_GT(length, 0u);
  return std::filesystem::path(folder) / "Orva";
}

FileTree InstalledPackage::packaged(Package package) {
  FileTree files = filesBelow(packageFolder() / packageName(package));
  std::erase_if(files, [](const auto& file) { return file.first.starts_with("client/"); });
  return files;
}

FileTree InstalledPackage::clientFiles(Package package) {
  return filesBelow(packageFolder() / packageName(package) / "client");
}

FileTree InstalledPackage::installed() {
  FileTree files = filesBelow(installFolder());
  files.erase(kUninstaller);
  return files;
}

testing::AssertionResult InstalledPackage::nothingIsLeft() {
  // The entry goes last. Before that, looking into the folder could keep it from being removed.
  if (uninstallEntry(L"DisplayName")) {
    return testing::AssertionFailure() << "still among the installed programs";
  }
  if (registration()) return testing::AssertionFailure() << "still registered";
  if (std::filesystem::exists(installFolder())) {
    // Not read: a file that is open cannot be removed.
    auto failure = testing::AssertionFailure() << "left in the folder:";
    std::error_code error;  // Whatever goes away meanwhile.
    for (std::filesystem::recursive_directory_iterator entry(installFolder(), error), end;
         !error && entry != end; entry.increment(error)) {
      failure << ' ' << entry->path().filename();
    }
    return failure;
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult InstalledPackage::isRegisteredWith(const std::filesystem::path& path) {
  const auto found = registration();
  if (!found) return testing::AssertionFailure() << "not registered";
  if (CompareStringOrdinal(found->path.c_str(), -1, path.wstring().c_str(), -1, TRUE) ==
      CSTR_EQUAL) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "registered: " << testing::PrintToString(found->path);
}

std::optional<std::wstring> InstalledPackage::uninstallEntry(const wchar_t* value) {
  wchar_t text[512];
  DWORD size = sizeof text;
  const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, kUninstallKey, value,
                                      RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, text, &size);
  if (status != ERROR_SUCCESS) return std::nullopt;
  return text;
}

}  // namespace orva_accelerator::test
