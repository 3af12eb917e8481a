#include "tests/faults/fault_stage.h"

#include <cerrno>
#include <string_view>

#include "ipc/wire/pipe_names.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::test {
namespace {

// Never looked into by anybody but the faked calls.
const SERVICE_STATUS_HANDLE kStatusHandle = reinterpret_cast<SERVICE_STATUS_HANDLE>(0x5747);

constexpr DWORD kRetryPauseMs = 1000;
constexpr DWORD kSupervisorPauseMs = 10'000;

}  // namespace

FaultStage::FaultStage(const std::string& function, std::size_t call)
    : fault_(function, call),
      requestPipe_(uniquePipeName(L"request")),
      pushPipe_(uniquePipeName(L"push")) {
  playServiceManager();
  playSystem();
  recogniseEvents();
  recogniseLibrary();
  keepLedgers();
}

void FaultStage::playServiceManager() {
  register_.works = [this](LPCWSTR, LPHANDLER_FUNCTION) {
    registered_ = true;
    return kStatusHandle;
  };
  report_.worksAllTheSame = true;
  report_.works = [this](SERVICE_STATUS_HANDLE, LPSERVICE_STATUS status) -> BOOL {
    reportedState_ = status->dwCurrentState;
    return TRUE;
  };
  priority_.works = [](HANDLE, DWORD) -> BOOL { return TRUE; };
}

void FaultStage::playSystem() {
  sleep_.replace([this](DWORD milliseconds) { pause(milliseconds); });
  // No message box: nobody would close it.
  user32_.failAllCalls(ERROR_MOD_NOT_FOUND, nullptr);
  beginThread_.works = [this](void* security, unsigned stack, unsigned (*start)(void*),
                              void* argument, unsigned flags, unsigned* id) {
    return beginThread_.callOriginal(security, stack, start, argument, flags, id);
  };
  toWide_.isOwn = [](UINT codePage, auto...) { return codePage == CP_UTF8; };
  toUtf8_.isOwn = [](UINT codePage, auto...) { return codePage == CP_UTF8; };
  for (bool* worksAllTheSame :
       {&localFree_.worksAllTheSame, &setEvent_.worksAllTheSame, &flush_.worksAllTheSame,
        &disconnect_.worksAllTheSame, &close_.worksAllTheSame, &virtualFree_.worksAllTheSame}) {
    *worksAllTheSame = true;
  }
  localFree_.isOwn = [](HLOCAL memory) { return memory != nullptr; };
}

// The C++ library's threads create, signal and wait for events as well. The service's two are those
// that the thread of serviceMain creates before there is any other thread.
void FaultStage::recogniseEvents() {
  createEvent_.isOwn = [this](auto...) { return registered_ && eventCount_ < 2; };
  createEvent_.works = [this](LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL signalled,
                              LPCSTR name) {
    const HANDLE event = createEvent_.callOriginal(security, manual, signalled, name);
    if (registered_ && eventCount_ < 2) events_[eventCount_++] = event;
    return event;
  };
  const auto isServiceEvent = [this](HANDLE handle, auto...) {
    return handle != nullptr && (handle == events_[0] || handle == events_[1]);
  };
  setEvent_.isOwn = isServiceEvent;
  wait_.isOwn = isServiceEvent;
}

void FaultStage::recogniseLibrary() {
  modulePath_.isOwn = [](HMODULE module, auto...) { return module == nullptr; };
  loadLibrary_.isOwn = [](LPCWSTR path) {
    return std::wstring_view(path).ends_with(L"\\OpenKernel.dll");
  };
  // The fake library is found in any folder, a real one is not.
  loadLibrary_.works = [this](LPCWSTR path) -> HMODULE {
    if (path[0] != L'\\') return loadLibrary_.callOriginal(path);
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  };
  procAddress_.isOwn = [](HMODULE, LPCSTR name) {
    return std::string_view(name).starts_with("Kernel_");
  };
}

void FaultStage::keepLedgers() {
  createPipe_.works = [this](auto... arguments) { return createPipe(arguments...); };
  snapshot_.works = [this](DWORD flags, DWORD process) {
    return processes_.opened(snapshot_.callOriginal(flags, process));
  };
  openProcess_.works = [this](DWORD access, BOOL inherit, DWORD process) {
    return processes_.opened(openProcess_.callOriginal(access, inherit, process));
  };
  close_.isOwn = [this](HANDLE handle) {
    return pipes_.contains(handle) || processes_.contains(handle);
  };
  close_.works = [this](HANDLE handle) {
    // Before it is closed: the system may give its value to a new one at once.
    pipes_.closed(handle);
    processes_.closed(handle);
    return close_.callOriginal(handle);
  };
}

HANDLE FaultStage::createPipe(LPCWSTR name, DWORD openMode, DWORD pipeMode, DWORD instances,
                              DWORD outSize, DWORD inSize, DWORD timeout,
                              LPSECURITY_ATTRIBUTES security) {
  if (security == nullptr || security->lpSecurityDescriptor == nullptr) madeUnsecuredPipe_ = true;
  const std::wstring& own =
      std::wstring_view(name) == ipc::kRequestPipeName ? requestPipe_ : pushPipe_;
  return pipes_.opened(createPipe_.callOriginal(own.c_str(), openMode, pipeMode, instances, outSize,
                                                inSize, timeout, security));
}

void FaultStage::pause(DWORD milliseconds) {
  if (milliseconds == kSupervisorPauseMs) {
    const std::size_t turn = ++supervisorPauses_;
    while (supervisorRuns_ < turn) sleep_.callOriginal(1);
    return;
  }
  if (milliseconds == kRetryPauseMs) ++retries_;
  sleep_.callOriginal(milliseconds == kRetryPauseMs ? 1 : milliseconds);
}

bool FaultStage::runSupervisor() {
  if (!waitUntil([this] { return supervisorPauses_ > supervisorRuns_; })) return false;
  const std::size_t turn = ++supervisorRuns_;
  return waitUntil([&] { return supervisorPauses_ > turn; });
}

}  // namespace orva_accelerator::test
