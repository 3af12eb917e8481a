// The server end of a pipe, as the service makes it, under the control of a test.
#pragma once

#include <windows.h>

#include <optional>
#include <span>
#include <string>

#include "tests/support/bounded_wait.h"
#include "tests/support/golden_vectors.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {

// One pipe instance and one client at a time; one thread. Every call is bounded by kPatience and
// ends early when `stop`, a borrowed event that may be null, is signalled.
class ServerEnd {
 public:
  // Creates the instance; a second one of the same name is a second place for a client, unless
  // `mostInstances` says otherwise.
  explicit ServerEnd(const std::wstring& name, HANDLE stop = nullptr,
                     DWORD mostInstances = PIPE_UNLIMITED_INSTANCES);

  // True when a client is there.
  bool accept();
  // The next message whole; nothing when the client is gone or the time is over.
  std::optional<Bytes> read();
  // True when the message was taken into the pipe.
  bool write(std::span<const std::uint8_t> message);
  // True when the client closes its end without sending anything more.
  bool clientLeaves();
  // Ends the connection; what the client has not read is lost. `accept` may be called again.
  void disconnect();

 private:
  // Waits for a pending call. True, with the count, when it completed or has more data.
  bool complete(OVERLAPPED& operation, DWORD& moved, DWORD& error);

  win32::UniqueFileHandle pipe_;
  win32::UniqueKernelHandle completed_;
  HANDLE stop_;
};

}  // namespace orva_accelerator::test
