// One client end of a message-mode pipe, read and written with deadlines.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "client/bytes.h"
#include "client/deadline.h"
#include "client/result.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::client {

// What a failed call on a pipe means.
Error pipeError(const char* step, std::uint32_t code);
// The error of a wait that ended with `kind`, Timeout or Interrupted, before anything came.
Error waitEnded(const char* step, ErrorKind kind);

// Not for use by several threads at once. No operation returns while the system may still write to
// or read from the caller's memory, also not one that ran out of time.
class MessagePipe {
 public:
  // What one read obtained; `more` says that the message goes on and the next read continues it.
  struct Piece {
    std::size_t length = 0;
    bool more = false;
  };

  // Takes over a pipe that was opened for overlapped I/O and is in message mode.
  static Result<MessagePipe> adopt(win32::UniqueFileHandle pipe);

  // Writes one whole message. `step` names the operation in an error. For `interrupt` see Read.
  Result<Done> write(ByteView message, const Deadline& deadline, const char* step,
                     HANDLE interrupt = nullptr);

  // Reads up to `room.size()` bytes of the current message, or of the next one. `interrupt`, if not
  // null, is a borrowed event that ends the wait early with ErrorKind::Interrupted.
  //
  // A message that arrives in the very moment in which the wait ends is still delivered; otherwise
  // nothing has been taken from the pipe and a later read gets it.
  Result<Piece> read(std::span<std::uint8_t> room, const Deadline& deadline, const char* step,
                     HANDLE interrupt = nullptr);

  // Borrowed.
  HANDLE handle() const noexcept { return pipe_.get(); }

 private:
  MessagePipe(win32::UniqueFileHandle pipe, win32::UniqueKernelHandle completed)
      : pipe_(std::move(pipe)), completed_(std::move(completed)) {}

  Result<Piece> finish(OVERLAPPED& operation, const Deadline& deadline, const char* step,
                       HANDLE interrupt);

  win32::UniqueFileHandle pipe_;
  win32::UniqueKernelHandle completed_;  // Manual reset; the system resets it at every start.
};

}  // namespace orva_accelerator::client
