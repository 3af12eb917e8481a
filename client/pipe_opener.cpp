#include "client/pipe_opener.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "client/server_process.h"

namespace orva_accelerator::client {
namespace {

// Short enough to go unnoticed, long enough to leave the processor to a service that is starting.
constexpr std::uint32_t kRetryAfterMs = 10;
// A free instance ends the wait at once; the bound only matters for a pipe that went away.
constexpr std::uint32_t kLongestBusyWaitMs = 200;

Error CannotOpen(const char* step, DWORD code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
      return Error{ErrorKind::NoService, step, code, "the service is not running"};
    case ERROR_PIPE_BUSY:
      return Error{ErrorKind::Timeout, step, code,
                   "the service was too busy to take the connection"};
    case ERROR_ACCESS_DENIED:
      return Error{ErrorKind::System, step, code,
                   "access is denied: the service takes signed-in users only"};
    default:
      return Error{ErrorKind::System, step, code, "the pipe cannot be opened"};
  }
}

void WaitBeforeNextTry(const std::wstring& name, DWORD code, const Deadline& deadline) {
  // At least 1: WaitNamedPipeW takes 0 for "as long as the server likes".
  const std::uint32_t left = std::max<std::uint32_t>(deadline.remainingMs(), 1);
  if (code == ERROR_PIPE_BUSY && WaitNamedPipeW(name.c_str(), std::min(left, kLongestBusyWaitMs))) {
    return;
  }
  Sleep(std::min(left, kRetryAfterMs));
}

Result<win32::UniqueFileHandle> Connect(const std::wstring& name, const Deadline& deadline,
                                        const char* step) {
  for (;;) {
    win32::UniqueFileHandle pipe(
        CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                    FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS, nullptr));
    if (pipe) return pipe;
    const DWORD code = GetLastError();
    const bool passing = code == ERROR_FILE_NOT_FOUND || code == ERROR_PIPE_BUSY;
    if (!passing || deadline.passed()) return CannotOpen(step, code);
    WaitBeforeNextTry(name, code, deadline);
  }
}

}  // namespace

Result<MessagePipe> OpenPipe(const Endpoint& endpoint, const Deadline& deadline, const char* step) {
  auto pipe = Connect(endpoint.pipeName, deadline, step);
  if (!pipe) return pipe.error();
  if (endpoint.verifyServer) {
    auto checked = CheckServedByService(pipe.value().get(), endpoint.serviceName.c_str());
    if (!checked) return checked.error();
  }
  DWORD mode = PIPE_READMODE_MESSAGE;
  if (!SetNamedPipeHandleState(pipe.value().get(), &mode, nullptr, nullptr)) {
    const DWORD code = GetLastError();
    return Error{ErrorKind::System, step, code, "the pipe cannot be put into message mode"};
  }
  return MessagePipe::Adopt(std::move(pipe.value()));
}

}  // namespace orva_accelerator::client
