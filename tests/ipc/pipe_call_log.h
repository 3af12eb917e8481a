// Which system calls a pipe sees, in their order.
#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {

// Made before the server is started. The hooks are there to script failures; clients in this
// process go through them as well, with other handles.
class PipeCallLog {
 public:
  PipeCallLog();

  using Lines = std::vector<std::string>;

  // The calls on this pipe, such as "ReadFile 24", from the first ConnectNamedPipe to the first
  // CloseHandle: a later pipe may get the same handle.
  Lines of(HANDLE pipe) const;
  std::size_t count(HANDLE pipe, const std::string& line) const;
  // The calls become exactly these.
  bool becomes(HANDLE pipe, const Lines& expected) const;
  // The pipes that waited for a client, in order.
  std::vector<HANDLE> listeners() const;

  ImportHook<decltype(ConnectNamedPipe)> connectNamedPipe{"kernel32.dll", "ConnectNamedPipe"};
  ImportHook<decltype(DisconnectNamedPipe)> disconnectNamedPipe{"kernel32.dll",
                                                                "DisconnectNamedPipe"};
  ImportHook<decltype(ReadFile)> readFile{"kernel32.dll", "ReadFile"};
  ImportHook<decltype(WriteFile)> writeFile{"kernel32.dll", "WriteFile"};
  ImportHook<decltype(FlushFileBuffers)> flushFileBuffers{"kernel32.dll", "FlushFileBuffers"};
  ImportHook<decltype(CloseHandle)> closeHandle{"kernel32.dll", "CloseHandle"};

 private:
  struct Entry {
    HANDLE handle;
    std::string line;
  };
  // Outlives the log for threads that are inside a call.
  struct Entries {
    std::mutex mutex;
    std::vector<Entry> all;
    void add(HANDLE handle, std::string line);
  };

  const std::shared_ptr<Entries> entries_ = std::make_shared<Entries>();
};

}  // namespace orva_accelerator::test
