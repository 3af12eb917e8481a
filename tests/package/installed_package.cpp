#include "tests/package/installed_package.h"

#include <msi.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <system_error>

#include "service/shared_names.h"
#include "tests/support/process_start.h"

namespace orva_accelerator::test {
namespace {

constexpr wchar_t kUninstallKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
// The steps wait up to 20 seconds for what is in the way, and the machine may be busy.
constexpr DWORD kSetupPatienceMs = 180'000;

bool isWine() {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

std::filesystem::path packageFolder() {
  return std::filesystem::path(testFolder()).parent_path().parent_path() / "package";
}

std::string packageName(Package package) {
  switch (package) {
    case Package::kOrdinary:
      return ORVA_PACKAGE;
    case Package::kDeveloper:
      return ORVA_PACKAGE "-developer";
    case Package::kNewer:
      return "test-newer";
    case Package::kNewerFailing:
      return "test-newer-failing";
    case Package::kNewerHuge:
      return "test-newer-huge";
    case Package::kNewerHugeChinese:
      return "test-newer-huge-chinese";
  }
  return {};
}

// Empty when no package of ours is installed. By name: Wine forgets the family of a product as soon
// as another one of the family is removed, which is how an upgrade ends.
std::wstring installedProduct() {
  wchar_t product[39] = {};
  for (DWORD i = 0; MsiEnumProductsW(i, product) == ERROR_SUCCESS; ++i) {
    wchar_t name[100] = {};
    DWORD length = 100;
    if (MsiGetProductInfoW(product, INSTALLPROPERTY_PRODUCTNAME, name, &length) == ERROR_SUCCESS &&
        std::wstring_view(name) == service::kServiceDisplayName) {
      return product;
    }
  }
  return {};
}

std::wstring systemProgram(const wchar_t* name) {
  wchar_t folder[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  return std::wstring(folder, length) + L"\\" + name;
}

// Not with a ChildProcess, which ends what its program has started: the installer may go on.
std::optional<DWORD> runInstaller(const std::wstring& arguments) {
  const std::wstring program = systemProgram(L"msiexec.exe");
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started = {};
  const std::wstring line = L"\"" + program + L"\" " + arguments + L" /qn";
  if (const DWORD error = startProcess(program, line, 0, {}, startup, started)) {
    ADD_FAILURE() << "the installer cannot be started, error " << error;
    return std::nullopt;
  }
  const win32::UniqueKernelHandle thread(started.hThread);
  const win32::UniqueKernelHandle process(started.hProcess);
  if (WaitForSingleObject(process.get(), kSetupPatienceMs) != WAIT_OBJECT_0) {
    ADD_FAILURE() << "the installer does not end";
    (void)TerminateProcess(process.get(), 1);  // It may have ended by itself just now.
    return std::nullopt;
  }
  DWORD code = 0;
  if (!GetExitCodeProcess(process.get(), &code)) return std::nullopt;
  return code;
}

int CALLBACK collectErrors(void* texts, UINT type, const wchar_t* text) {
  if ((type & 0xFF000000U) == static_cast<UINT>(INSTALLMESSAGE_ERROR) && text != nullptr) {
    *static_cast<std::wstring*>(texts) += text;
  }
  // The installer goes on as if nobody had listened.
  return 0;
}

// What the installer remembers, in a Windows of our own: quicker than to remove the package, and
// possible however broken it is.
void forgetPackages() {
  for (const wchar_t* key :
       {L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer", L"SOFTWARE\\Classes\\Installer",
        L"SOFTWARE\\OrvaAcceleratorService"}) {
    const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, key);
    EXPECT_TRUE(status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) << status;
  }
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
  EXPECT_TRUE(stopInstalledService()) << "its files cannot be removed while it runs";
  removeWhatIsInstalled();
}

void InstalledPackage::removeWhatIsInstalled() {
  const std::wstring product = installedProduct();
  if (isWine()) {
    if (!product.empty()) {
      const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kUninstallKey + product).c_str());
      EXPECT_TRUE(status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) << status;
    }
    forgetPackages();
  } else if (!product.empty()) {
    EXPECT_EQ(runInstaller(L"/x " + product), 0u);
  }
  EXPECT_TRUE(waitUntil([] {
    std::error_code error;
    std::filesystem::remove_all(installFolder(), error);
    return !error;
  })) << "the installed files cannot be removed";
}

std::optional<DWORD> InstalledPackage::setup(Package package) const {
  const std::filesystem::path file = packageFolder() / (packageName(package) + ".msi");
  return runInstaller(L"/i \"" + file.wstring() + L"\" /l*v \"" + logFile().wstring() + L"\"");
}

std::optional<DWORD> InstalledPackage::uninstall() const {
  return runInstaller(L"/x " + installedProduct() + L" /l*v \"" + logFile().wstring() + L"\"");
}

std::string InstalledPackage::log() const {
  // Wide on Windows and narrow under Wine; what is looked for is ASCII.
  std::string text = readFile(logFile());
  std::erase(text, '\0');
  return text;
}

std::wstring InstalledPackage::errorsOfSetup(Package package) {
  const std::filesystem::path file = packageFolder() / (packageName(package) + ".msi");
  std::wstring texts;
  // Both give what was set before.
  (void)MsiSetInternalUI(INSTALLUILEVEL_NONE, nullptr);
  (void)MsiSetExternalUIW(collectErrors, INSTALLLOGMODE_ERROR, &texts);
  EXPECT_EQ(MsiInstallProductW(file.wstring().c_str(), L""), UINT{ERROR_INSTALL_FAILURE});
  (void)MsiSetExternalUIW(nullptr, 0, nullptr);
  return texts;
}

bool InstalledPackage::runsInstalledService() {
  const auto now = status();
  if (!now || now->dwProcessId == 0) return false;
  const win32::UniqueKernelHandle process(
      OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, now->dwProcessId));
  if (!process || WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0) return false;
  wchar_t path[MAX_PATH];
  DWORD length = MAX_PATH;
  return QueryFullProcessImageNameW(process.get(), 0, path, &length) &&
         CompareStringOrdinal(path, -1, installedService().wstring().c_str(), -1, TRUE) ==
             CSTR_EQUAL;
}

bool InstalledPackage::stopInstalledService() const {
  return waitUntil([this] {
    if (!runsInstalledService()) return true;
    (void)sendControl(SERVICE_CONTROL_STOP);  // The end of the process is what tells.
    return false;
  });
}

std::filesystem::path InstalledPackage::installFolder() {
  wchar_t folder[MAX_PATH];
  const DWORD length = GetEnvironmentVariableW(L"ProgramW6432", folder, MAX_PATH);
  EXPECT_GT(length, 0u);
  return std::filesystem::path(folder) / "Orva";
}

FileTree InstalledPackage::packaged(Package package) {
  FileTree files = filesBelow(packageFolder() / packageName(package));
  std::erase_if(files, [](const auto& file) {
    return file.first.starts_with("client/") || file.first == "README.txt";
  });
  return files;
}

FileTree InstalledPackage::clientFiles(Package package) {
  return filesBelow(packageFolder() / packageName(package) / "client");
}

FileTree InstalledPackage::installed() {
  return filesBelow(installFolder());
}

testing::AssertionResult InstalledPackage::nothingIsLeft() {
  if (!installedProduct().empty()) {
    return testing::AssertionFailure() << "still among the installed programs";
  }
  HKEY state = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\OrvaAcceleratorService", 0, KEY_READ, &state) ==
      ERROR_SUCCESS) {
    (void)RegCloseKey(state);  // Fails only for a key that is not open.
    return testing::AssertionFailure() << "the state of an installation is still there";
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
  const LSTATUS status =
      RegGetValueW(HKEY_LOCAL_MACHINE, (kUninstallKey + installedProduct()).c_str(), value,
                   RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, text, &size);
  if (status != ERROR_SUCCESS) return std::nullopt;
  return text;
}

}  // namespace orva_accelerator::test
