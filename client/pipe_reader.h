// A pipe that is read ahead, so that a program can wait for it beside other things.
#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>

#include "client/bytes.h"
#include "client/deadline.h"
#include "client/message_pipe.h"
#include "client/result.h"

namespace orva_accelerator::client {

// One piece of a message at most is read before somebody asks for it; what follows waits in the
// pipe. Not for use by several threads at once.
class PipeReader {
 public:
  // Reads from `pipe` from now on.
  static Result<PipeReader> start(MessagePipe pipe);

  // Signalled as long as `take` has something to give at once, an error included, and now and then
  // when it has nothing after all. Borrowed: only to be waited for, and as long as this lives.
  HANDLE readable() const noexcept;

  // Waits for the next piece and puts it behind `message`. Gives whether the message goes on after
  // it. For `step` and `interrupt` see MessagePipe. Nothing is lost by Timeout and Interrupted, and
  // nothing by an exception; every other error is final and is given each time.
  Result<bool> take(Bytes& message, const Deadline& deadline, const char* step,
                    HANDLE interrupt = nullptr);

 private:
  // The system writes into it while a read is pending: it stays where it is when this is moved.
  struct Reading;
  struct End {
    void operator()(Reading* reading) const noexcept;
  };

  explicit PipeReader(std::unique_ptr<Reading, End> reading) : reading_(std::move(reading)) {}

  std::unique_ptr<Reading, End> reading_;
};

}  // namespace orva_accelerator::client
