#include "tests/system/service_fixture.h"

#include <atomic>
#include <system_error>
#include <vector>

#include "service/service_identity.h"
#include "tests/support/another_run.h"
#include "tests/support/thread_count.h"

namespace orva_accelerator::test {
namespace {

using service::kServiceName;
using win32::UniqueKernelHandle;
using win32::UniqueServiceHandle;

// Starting a service on a busy machine; decides only how long a broken test takes to fail.
constexpr std::chrono::seconds kStartPatience{30};

UniqueServiceHandle openManager() {
  return UniqueServiceHandle(
      OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE));
}

// Null, with the last error set, when there is no such service.
UniqueServiceHandle openService(DWORD access) {
  const UniqueServiceHandle manager = openManager();
  if (!manager) return {};
  return UniqueServiceHandle(OpenServiceW(manager.get(), kServiceName, access));
}

// A registration goes when it is deleted, nobody holds it and its process has ended.
bool removeRegistration() {
  return waitUntil([] {
    const UniqueServiceHandle service = openService(DELETE);
    if (!service) return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST;
    (void)DeleteService(service.get());  // Fails while it is marked already.
    return false;
  });
}

std::filesystem::path freshFolder() {
  static std::atomic<unsigned> count{0};
  const std::wstring name = L"Orva Service " + std::to_wstring(GetCurrentProcessId()) + L"-" +
                            std::to_wstring(++count) + L"-" + std::to_wstring(GetTickCount64());
  return std::filesystem::temp_directory_path() / name;
}

// Of a record whose size the first call tells.
template <typename Query>
std::vector<std::byte> queryRecord(Query query) {
  DWORD size = 0;
  if (query(nullptr, 0, &size) || GetLastError() != ERROR_INSUFFICIENT_BUFFER) return {};
  std::vector<std::byte> record(size);
  if (!query(reinterpret_cast<BYTE*>(record.data()), size, &size)) record.clear();
  return record;
}

std::wstring textOrEmpty(const wchar_t* text) {
  return text == nullptr ? L"" : text;
}

}  // namespace

ServiceFixture::ServiceFixture() : folder_(freshFolder()) {}

ServiceFixture::~ServiceFixture() {
  if (HasFailure() && isRunning() && isHeldUpByWine()) {
    requestAnotherRun("the service's process, at its end");
  }
  killService();
  EXPECT_TRUE(removeRegistration()) << "the service is still registered";
  hostApplication_.reset();
  // Files of a process that has just ended stay in use for a moment.
  EXPECT_TRUE(waitUntil([this] {
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
    return !error;
  })) << "the test's folder cannot be removed";
}

void ServiceFixture::SetUp() {
  // Left behind by a test that was killed.
  ASSERT_TRUE(removeRegistration()) << "a service of this name is in the way";

  const std::filesystem::path library = folder_ / "accel_sdk" / "sdk_x64";
  std::filesystem::create_directories(library);
  std::filesystem::copy_file(shippedFile(L"OrvaAcceleratorService.exe"), executable());
  simulator_ = std::make_unique<SimulatorFolder>(library);
  simulator_->copyLibrary();
}

ChildResult ServiceFixture::runService(const std::vector<std::wstring>& arguments) const {
  // Removing a running service may take ten seconds.
  return runChild(executable().wstring(), arguments, std::chrono::seconds(60));
}

bool ServiceFixture::install() {
  const ChildResult result = runService({L"install"});
  EXPECT_EQ(result.exitCode, 0u) << result.output << result.errors;
  return result.exitCode == 0u;
}

bool ServiceFixture::start() {
  const UniqueServiceHandle service = openService(SERVICE_START);
  BOOL started = service && StartServiceW(service.get(), 0, nullptr);
  DWORD error = GetLastError();
  // Wine's manager fails one start in some thousands with this, and succeeds the next time.
  if (service && !started && error == ERROR_INTERNAL_ERROR) {
    started = StartServiceW(service.get(), 0, nullptr);
    error = GetLastError();
  }
  EXPECT_TRUE(started) << "error " << error;
  if (!started) return false;

  const bool running = waitUntil(
      [] {
        const auto current = status();
        return current && current->dwCurrentState == SERVICE_RUNNING && current->dwProcessId != 0;
      },
      kStartPatience);
  EXPECT_TRUE(running) << "the service does not come up";
  const auto current = status();
  if (!current) return false;
  processId_ = current->dwProcessId;
  process_.reset(
      OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_TERMINATE | PROCESS_VM_READ,
                  FALSE, processId_));
  EXPECT_TRUE(process_) << "the service's process cannot be opened";
  return running && process_;
}

bool ServiceFixture::startHostApplication() {
  const std::filesystem::path program = folder_ / "Zandor.exe";
  std::filesystem::copy_file(testFolder() + L"\\idle_program.exe", program);
  hostApplication_ = std::make_unique<ChildProcess>(program.wstring());
  EXPECT_EQ(hostApplication_->startError(), 0u);
  return hostApplication_->startError() == 0;
}

bool ServiceFixture::isRunning() const {
  return process_ && !waitForEnd(std::chrono::milliseconds(0));
}

std::optional<DWORD> ServiceFixture::waitForEnd(std::chrono::milliseconds limit) const {
  if (!process_) return std::nullopt;
  if (WaitForSingleObject(process_.get(), static_cast<DWORD>(limit.count())) != WAIT_OBJECT_0) {
    return std::nullopt;
  }
  DWORD code = 0;
  if (!GetExitCodeProcess(process_.get(), &code)) return std::nullopt;
  return code;
}

DWORD ServiceFixture::sendControl(DWORD control) const {
  const UniqueServiceHandle service =
      openService(SERVICE_STOP | SERVICE_PAUSE_CONTINUE | SERVICE_INTERROGATE);
  if (!service) return GetLastError();
  SERVICE_STATUS answered = {};
  return ControlService(service.get(), control, &answered) ? 0 : GetLastError();
}

std::optional<DWORD> ServiceFixture::stop() {
  (void)sendControl(SERVICE_CONTROL_STOP);  // The end of the process is what tells.
  return waitForEnd();
}

bool ServiceFixture::isHeldUpByWine() const {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr &&
         threadCount(processId_) == 1U;
}

void ServiceFixture::killService() {
  if (!process_ || !isRunning()) return;
  (void)TerminateProcess(process_.get(), 1);  // It may have ended by itself just now.
  EXPECT_TRUE(waitForEnd()) << "the service's process cannot be ended";
}

std::optional<SERVICE_STATUS_PROCESS> ServiceFixture::status() {
  const UniqueServiceHandle service = openService(SERVICE_QUERY_STATUS);
  if (!service) return std::nullopt;
  SERVICE_STATUS_PROCESS status = {};
  DWORD size = 0;
  if (!QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            sizeof status, &size)) {
    return std::nullopt;
  }
  return status;
}

std::optional<Registration> ServiceFixture::registration() {
  const UniqueServiceHandle service = openService(SERVICE_QUERY_CONFIG);
  if (!service) return std::nullopt;
  const auto config = queryRecord([&](BYTE* buffer, DWORD size, DWORD* needed) {
    return QueryServiceConfigW(service.get(), reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer),
                               size, needed);
  });
  if (config.empty()) return std::nullopt;
  const auto& record = *reinterpret_cast<const QUERY_SERVICE_CONFIGW*>(config.data());
  Registration found = {textOrEmpty(record.lpBinaryPathName),
                        textOrEmpty(record.lpServiceStartName),
                        textOrEmpty(record.lpDisplayName),
                        L"",
                        record.dwServiceType,
                        record.dwStartType,
                        record.dwErrorControl};
  const auto described = queryRecord([&](BYTE* buffer, DWORD size, DWORD* needed) {
    return QueryServiceConfig2W(service.get(), SERVICE_CONFIG_DESCRIPTION, buffer, size, needed);
  });
  if (!described.empty()) {
    found.description =
        textOrEmpty(reinterpret_cast<const SERVICE_DESCRIPTIONW*>(described.data())->lpDescription);
  }
  return found;
}

DWORD ServiceFixture::registerPath(const std::wstring& path, DWORD startType) {
  const UniqueServiceHandle manager = openManager();
  if (!manager) return GetLastError();
  const UniqueServiceHandle service(
      CreateServiceW(manager.get(), kServiceName, L"Somebody's own name", SERVICE_ALL_ACCESS,
                     SERVICE_WIN32_OWN_PROCESS, startType, SERVICE_ERROR_IGNORE, path.c_str(),
                     nullptr, nullptr, nullptr, nullptr, nullptr));
  return service ? 0 : GetLastError();
}

}  // namespace orva_accelerator::test
