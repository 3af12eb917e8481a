// A client that knows pipes and bytes and nothing else: no frame, no message type, and nothing of
// the client library. What it sees is what any other program would see.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tests/support/bounded_wait.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {

// How a read or write ended.
struct PipeOutcome {
  enum class End {
    Done,      // A whole message.
    Closed,    // The other end is gone: errors 109, 232, 233.
    TimedOut,  // Not finished in time, and cancelled.
    Failed,    // Anything else.
  };
  End end = End::Failed;
  DWORD error = 0;                    // 0 when done.
  std::vector<std::uint8_t> message;  // What a read got; empty for a write.

  bool done() const { return end == End::Done; }
  bool closed() const { return end == End::Closed; }
  bool timedOut() const { return end == End::TimedOut; }
};

// One client end of a message-mode pipe. One thread at a time; every call is bounded.
class RawPipeClient {
 public:
  RawPipeClient() = default;

  // Connects, trying again while there is no pipe or no free instance (errors 2 and 231). 0, or the
  // error of the last attempt.
  DWORD open(const std::wstring& name, std::chrono::milliseconds limit = kPatience);
  bool isOpen() const { return static_cast<bool>(pipe_); }
  // Ends the connection at once.
  void close() { pipe_.reset(); }
  HANDLE handle() const { return pipe_.get(); }

  // One pipe message, which may be empty.
  PipeOutcome write(std::span<const std::uint8_t> message,
                    std::chrono::milliseconds limit = kPatience);

  // The next pipe message as a whole, however long.
  PipeOutcome read(std::chrono::milliseconds limit = kPatience);

  // The next `count` bytes over as many messages as it takes, for byte-exact comparisons. Fewer
  // when the connection ends or the time is over first.
  std::vector<std::uint8_t> readBytes(std::size_t count,
                                      std::chrono::milliseconds limit = kPatience);

  // True when the other end goes away without another byte.
  bool endsSilently(std::chrono::milliseconds limit = kPatience);

  // True when nothing arrives and the connection still stands after `quiet`.
  bool staysSilent(std::chrono::milliseconds quiet);

 private:
  // Performs one overlapped call; `moved` receives the number of bytes.
  template <typename Call>
  PipeOutcome perform(Call call, DWORD& moved, std::chrono::milliseconds limit);

  win32::UniqueFileHandle pipe_;
  std::vector<std::uint8_t> leftOver_;  // Of a message of which readBytes took a part.
};

}  // namespace orva_accelerator::test
