#include "installer/folder_release.h"

#include <windows.h>

#include "installer/process_list.h"
#include "service/shared_names.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::installer {

namespace {

constexpr wchar_t kServiceImage[] = L"OrvaAcceleratorService.exe";
constexpr wchar_t kToolImage[] = L"orvactl.exe";
constexpr DWORD kPollMs = 50;
// One stop request is enough, but a client may have started the service again meanwhile.
constexpr std::chrono::milliseconds kBetweenRequests{1000};

using Clock = std::chrono::steady_clock;

void requestStop() {
  const win32::UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return;
  const win32::UniqueServiceHandle service(
      OpenServiceW(manager.get(), service::kServiceName, SERVICE_STOP));
  if (!service) return;
  SERVICE_STATUS status = {};
  // Fails when it does not run, or ends before the answer: the process tells.
  (void)ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
}

bool isServiceGone() {
  const auto processes = processesNamed(kServiceImage);
  return processes && processes->empty();
}

// True when none is left.
bool endToolsOnce(const std::wstring& path) {
  const auto processes = processesNamed(kToolImage);
  if (!processes) return false;
  bool gone = true;
  for (const DWORD id : *processes) {
    if (!isSameName(imagePath(id), path)) continue;
    gone = false;
    const win32::UniqueKernelHandle process(OpenProcess(PROCESS_TERMINATE, FALSE, id));
    if (process) (void)TerminateProcess(process.get(), 1);  // Asked again if it is still there.
  }
  return gone;
}

}  // namespace

bool stopService(std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  auto nextRequest = Clock::now();
  while (!isServiceGone()) {
    const auto now = Clock::now();
    if (now >= deadline) return false;
    if (now >= nextRequest) {
      requestStop();
      nextRequest = now + kBetweenRequests;
    }
    Sleep(kPollMs);
  }
  return true;
}

bool endTools(const std::wstring& folder, std::chrono::milliseconds limit) {
  const std::wstring path = folder + L"\\" + kToolImage;
  const auto deadline = Clock::now() + limit;
  while (!endToolsOnce(path)) {
    if (Clock::now() >= deadline) return false;
    Sleep(kPollMs);
  }
  return true;
}

}  // namespace orva_accelerator::installer
