#include "client/message_pipe.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace orva_accelerator::client {
namespace {

DWORD callSize(std::size_t size) {
  return static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<DWORD>::max()));
}

}  // namespace

Error pipeError(const char* step, std::uint32_t code) {
  switch (code) {
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
      return Error{ErrorKind::HungUp, step, code, "the service ended the connection"};
    default:
      return Error{ErrorKind::System, step, code, "the pipe failed"};
  }
}

Error waitEnded(const char* step, ErrorKind kind) {
  return kind == ErrorKind::Interrupted
             ? Error{kind, step, 0, "interrupted"}
             : Error{kind, step, 0, "the service did not get there in time"};
}

Result<MessagePipe> MessagePipe::adopt(win32::UniqueFileHandle pipe) {
  win32::UniqueKernelHandle completed(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!completed) {
    const DWORD code = GetLastError();
    return Error{ErrorKind::System, "create an event", code, "the system refused it"};
  }
  return MessagePipe(std::move(pipe), std::move(completed));
}

Result<Done> MessagePipe::write(ByteView message, const Deadline& deadline, const char* step,
                                HANDLE interrupt) {
  OVERLAPPED operation{};
  operation.hEvent = completed_.get();
  if (!WriteFile(pipe_.get(), message.data(), callSize(message.size()), nullptr, &operation)) {
    const DWORD code = GetLastError();
    if (code != ERROR_IO_PENDING) return pipeError(step, code);
  }
  auto written = finish(operation, deadline, step, interrupt);
  if (!written) return written.error();
  if (written.value().length != message.size()) {
    return Error{ErrorKind::System, step, 0, "the pipe took only a part of the message"};
  }
  return Done{};
}

Result<MessagePipe::Piece> MessagePipe::read(std::span<std::uint8_t> room, const Deadline& deadline,
                                             const char* step, HANDLE interrupt) {
  OVERLAPPED operation{};
  operation.hEvent = completed_.get();
  if (!ReadFile(pipe_.get(), room.data(), callSize(room.size()), nullptr, &operation)) {
    const DWORD code = GetLastError();
    // ERROR_MORE_DATA is a read that has completed; its count is in `operation`.
    if (code != ERROR_IO_PENDING && code != ERROR_MORE_DATA) return pipeError(step, code);
  }
  return finish(operation, deadline, step, interrupt);
}

// Only for an operation that has completed or is pending: for one that failed at once, the wait for
// its result would never end.
Result<MessagePipe::Piece> MessagePipe::finish(OVERLAPPED& operation, const Deadline& deadline,
                                               const char* step, HANDLE interrupt) {
  const HANDLE events[] = {completed_.get(), interrupt};
  const DWORD count = interrupt == nullptr ? 1 : 2;
  ErrorKind abandonedAs = ErrorKind::Timeout;
  DWORD waited = WAIT_OBJECT_0;
  DWORD waitError = 0;
  if (!HasOverlappedIoCompleted(&operation)) {
    waited = WaitForMultipleObjects(count, events, FALSE, deadline.remainingMs());
    if (waited == WAIT_FAILED) waitError = GetLastError();
    if (waited == WAIT_OBJECT_0 + 1) abandonedAs = ErrorKind::Interrupted;
  }
  if (waited != WAIT_OBJECT_0) {
    // Fails only if the operation has completed meanwhile, which the next call finds out as well.
    (void)CancelIoEx(pipe_.get(), &operation);
  }
  DWORD transferred = 0;
  // Waits for a cancelled operation too: its memory is the caller's and must be left alone by the
  // time this returns.
  if (!GetOverlappedResult(pipe_.get(), &operation, &transferred, TRUE)) {
    const DWORD code = GetLastError();
    if (code == ERROR_MORE_DATA) return Piece{transferred, true};
    if (waitError != 0) return pipeError(step, waitError);
    if (code == ERROR_OPERATION_ABORTED && waited != WAIT_OBJECT_0) {
      return waitEnded(step, abandonedAs);
    }
    return pipeError(step, code);
  }
  return Piece{transferred, false};
}

}  // namespace orva_accelerator::client
