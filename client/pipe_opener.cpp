#include "client/pipe_opener.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "client/process_watch.h"
#include "client/server_process.h"
#include "client/service_control.h"

namespace orva_accelerator::client {
namespace {

// Short enough to go unnoticed, long enough to leave the processor to a service that is starting.
constexpr std::uint32_t kRetryAfterMs = 10;
// A free instance ends the wait at once; the bound is for a pipe that went away, and an interrupt.
constexpr std::uint32_t kLongestBusyWaitMs = 100;

// One attempt to reach the service, over several tries.
class Opening {
 public:
  Opening(const Endpoint& endpoint, const Deadline& deadline, const char* step, HANDLE interrupt)
      : endpoint_(endpoint), deadline_(deadline), step_(step), interrupt_(interrupt) {}

  Result<MessagePipe> open() {
    for (;;) {
      auto pipe = attempt();
      if (pipe || !mayPass_) return pipe;
      if (interrupt_ != nullptr && WaitForSingleObject(interrupt_, 0) == WAIT_OBJECT_0) {
        return Error{ErrorKind::Interrupted, step_, 0, "interrupted"};
      }
      if (pipe.error().kind == ErrorKind::NotTheService) impostor_ = pipe.error();
      // That somebody else is there matters more than what their instance did to the later tries.
      if (deadline_.passed()) return impostor_ ? *impostor_ : pipe.error();
      waitBeforeNextTry(pipe.error().win32Code);
    }
  }

 private:
  Result<MessagePipe> attempt() {
    mayPass_ = false;
    ServiceProcess expected;
    if (endpoint_.verifyServer) {
      auto found = serviceToExpect();
      if (!found) return found.error();
      expected = found.value();
    }
    win32::UniqueFileHandle pipe(CreateFileW(
        endpoint_.pipeName.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
        FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS, nullptr));
    if (!pipe) {
      const DWORD code = GetLastError();
      return cannotOpen(expected, code);
    }
    if (endpoint_.verifyServer) {
      auto checked = check(pipe.get(), expected);
      if (!checked) return checked.error();
    }
    return adopt(std::move(pipe));
  }

  Result<ServiceProcess> serviceToExpect() {
    auto found = findServiceProcess(endpoint_.serviceName);
    if (!found || found.value().id != 0 || found.value().starting) return found;
    if (!endpoint_.startService) return notRunning(0);
    auto started = startAndWait(endpoint_.serviceName, deadline_, interrupt_);
    if (!started) return started.error();
    return ServiceProcess{started.value().processId, false};
  }

  // An instance that is not the service's may hide one that is: somebody can put theirs first.
  Result<Done> check(HANDLE pipe, const ServiceProcess& expected) {
    auto checked = checkServer(pipe, expected.id);
    if (checked) {
      auto now = findServiceProcess(endpoint_.serviceName);
      if (!now) return now.error();
      if (now.value().id == expected.id) return Done{};
      checked = Error{ErrorKind::NotTheService, step_, 0, "the service changed its process"};
    }
    mayPass_ = checked.error().kind == ErrorKind::NotTheService;
    return checked;
  }

  Error cannotOpen(const ServiceProcess& expected, DWORD code) {
    switch (code) {
      case ERROR_FILE_NOT_FOUND:
        if (!endpoint_.verifyServer) {
          mayPass_ = true;
          return notRunning(code);
        }
        // The manager may name a process that has ended.
        if (!expected.starting && ProcessWatch(expected.id).hasEnded()) return notRunning(code);
        mayPass_ = true;
        return Error{ErrorKind::Timeout, step_, code, "the service runs but has no pipe yet"};
      case ERROR_PIPE_BUSY:
        mayPass_ = true;
        return Error{ErrorKind::Timeout, step_, code,
                     "the service was too busy to take the connection"};
      case ERROR_ACCESS_DENIED:
        return Error{ErrorKind::System, step_, code,
                     "access is denied: the service takes signed-in users only"};
      default:
        return Error{ErrorKind::System, step_, code, "the pipe cannot be opened"};
    }
  }

  Error notRunning(DWORD code) const {
    return Error{ErrorKind::NotRunning, step_, code, "the service is not running"};
  }

  Result<MessagePipe> adopt(win32::UniqueFileHandle pipe) const {
    DWORD mode = PIPE_READMODE_MESSAGE;
    if (!SetNamedPipeHandleState(pipe.get(), &mode, nullptr, nullptr)) {
      const DWORD code = GetLastError();
      return Error{ErrorKind::System, step_, code, "the pipe cannot be put into message mode"};
    }
    return MessagePipe::adopt(std::move(pipe));
  }

  void waitBeforeNextTry(DWORD code) const {
    // At least 1: WaitNamedPipeW takes 0 for "as long as the server likes".
    const std::uint32_t left = std::max<std::uint32_t>(deadline_.remainingMs(), 1);
    if (code == ERROR_PIPE_BUSY &&
        WaitNamedPipeW(endpoint_.pipeName.c_str(), std::min(left, kLongestBusyWaitMs))) {
      return;
    }
    Sleep(std::min(left, kRetryAfterMs));
  }

  const Endpoint& endpoint_;
  const Deadline& deadline_;
  const char* step_;
  HANDLE interrupt_;
  std::optional<Error> impostor_;
  bool mayPass_ = false;  // Whether the latest failure is one that the next try may not meet.
};

}  // namespace

Result<MessagePipe> openPipe(const Endpoint& endpoint, const Deadline& deadline, const char* step,
                             HANDLE interrupt) {
  return Opening(endpoint, deadline, step, interrupt).open();
}

}  // namespace orva_accelerator::client
