#include "tests/service/host_stage.h"

#include <cstdio>
#include <thread>
#include <utility>

#include "service/service_host.h"

namespace orva_accelerator::service::test {

namespace {

// Never looked into by anybody but the faked calls.
const SERVICE_STATUS_HANDLE kStatusHandle = reinterpret_cast<SERVICE_STATUS_HANDLE>(0x5747);

std::string narrow(const wchar_t* ascii) {
  std::string text;
  for (; *ascii != L'\0'; ++ascii) text.push_back(static_cast<char>(*ascii));
  return text;
}

// The one action that is waited for, and the line that brings it about.
std::string awaitedLine;
std::function<void()> awaitedAction;

std::string text(const SERVICE_STATUS& status) {
  char line[128] = {};
  (void)std::snprintf(line, sizeof line, "{%lu, %lu, %lu, %lu, %lu, %lu, %lu}",
                      status.dwServiceType, status.dwCurrentState, status.dwControlsAccepted,
                      status.dwWin32ExitCode, status.dwServiceSpecificExitCode, status.dwCheckPoint,
                      status.dwWaitHint);
  return line;
}

}  // namespace

HostStage::HostStage() {
  answerManager();
  answerErrorMode();
  answerEvents();
  answerServer();
}

// At once and whole: the process may end in the next call.
void HostStage::say(const std::string& line) {
  // A line that is missing fails the test.
  (void)std::fputs((line + "\n").c_str(), stderr);
  (void)std::fflush(stderr);
  if (awaitedAction && line == awaitedLine) std::exchange(awaitedAction, nullptr)();
}

void HostStage::inside(std::string line, std::function<void()> action) {
  awaitedLine = std::move(line);
  awaitedAction = std::move(action);
}

void HostStage::returned() {
  say("returned");
  (void)TerminateProcess(GetCurrentProcess(), kReturned);
  std::abort();  // Not reached.
}

void HostStage::control(DWORD code) {
  std::thread([code] { serviceControlHandler(code); }).join();
}

void HostStage::answerManager() {
  register_.replace([this](LPCWSTR name, LPHANDLER_FUNCTION handler) -> SERVICE_STATUS_HANDLE {
    say("RegisterServiceCtrlHandlerW(" + narrow(name) + ", " +
        (handler == serviceControlHandler ? "serviceControlHandler)" : "another handler)"));
    return registers_ ? kStatusHandle : nullptr;
  });
  report_.replace([this](SERVICE_STATUS_HANDLE handle, LPSERVICE_STATUS status) -> BOOL {
    say(std::string("SetServiceStatus(") +
        (handle == kStatusHandle ? "status handle, " : "another handle, ") + text(*status) + ")");
    return takesReports_;
  });
  priority_.replace([this](HANDLE process, DWORD priority) -> BOOL {
    say(std::string("SetPriorityClass(") +
        (process == GetCurrentProcess() ? "this process, " : "another process, ") +
        std::to_string(priority) + ")");
    return raisesPriority_;
  });
}

void HostStage::answerErrorMode() {
  errorMode_.replace([]() -> UINT { return SEM_NOOPENFILEERRORBOX; });
  setErrorMode_.replace([](UINT mode) -> UINT {
    say("SetErrorMode(" + std::to_string(mode) + ")");
    return SEM_NOOPENFILEERRORBOX;
  });
}

// The threads of the C++ library create events as well, all of them later than these two.
HANDLE HostStage::createEvent(LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL signalled,
                              LPCSTR name) {
  const int number = ++events_;
  if (number == 2 && onServerEvent_) onServerEvent_();
  if (number <= 2) {
    say("CreateEventA(" + std::string(security == nullptr ? "null" : "security") + ", " +
        std::to_string(manual) + ", " + std::to_string(signalled) + ", " +
        (name == nullptr ? "null" : name) + ")");
  }
  if (number == refusedEvent_) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  const HANDLE event = createEvent_.callOriginal(security, manual, signalled, name);
  if (number == 1) stopEvent_ = event;
  if (number == 2) serverEvent_ = event;
  return event;
}

std::string HostStage::nameOf(HANDLE handle) const {
  return handle == stopEvent_ ? "service's event" : "server's event";
}

DWORD HostStage::wait(HANDLE handle, DWORD milliseconds) {
  if (handle != stopEvent_) return wait_.callOriginal(handle, milliseconds);
  say("WaitForSingleObject(" + nameOf(handle) + ", " + std::to_string(milliseconds) + ")");
  if (waited_ == waits_.size()) return wait_.callOriginal(handle, milliseconds);
  return waits_[waited_++]();
}

void HostStage::answerEvents() {
  createEvent_.replace(
      [this](LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL signalled, LPCSTR name) -> HANDLE {
        return createEvent(security, manual, signalled, name);
      });
  wait_.replace(
      [this](HANDLE handle, DWORD milliseconds) -> DWORD { return wait(handle, milliseconds); });
  setEvent_.replace([this](HANDLE handle) -> BOOL {
    if (handle == stopEvent_ || handle == serverEvent_) say("SetEvent(" + nameOf(handle) + ")");
    return setEvent_.callOriginal(handle);
  });
  closeHandle_.replace([this](HANDLE handle) -> BOOL {
    if (handle == stopEvent_ || handle == serverEvent_) say("CloseHandle(" + nameOf(handle) + ")");
    return closeHandle_.callOriginal(handle);
  });
}

void HostStage::answerServer() {
  pipes_.replace([this](LPCWSTR name, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD,
                        LPSECURITY_ATTRIBUTES) -> HANDLE {
    if (showsPipeNames_) say("pipe " + narrow(name));
    SetLastError(ERROR_PIPE_BUSY);
    return INVALID_HANDLE_VALUE;
  });
  // The server's loops pause longer than any run takes: none of them looks at a server that was
  // destroyed meanwhile, which nothing but a test lives to see.
  sleep_.replace([this](DWORD milliseconds) {
    constexpr DWORD kLongerThanAnyRun = 600'000;
    sleep_.callOriginal(milliseconds >= 1000 ? kLongerThanAnyRun : milliseconds);
  });
}

}  // namespace orva_accelerator::service::test
