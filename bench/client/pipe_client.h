// The client's ends of the two pipes, with nothing between the measurement and the system's calls.
// Every failure ends the measurement with a std::runtime_error that names the call.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ipc/wire/headers.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::bench {

[[noreturn]] void failCall(const char* call, DWORD error);

// Connects in message mode. Waits, for at most ten seconds, while the server has no free instance.
win32::UniqueFileHandle openPipe(const std::wstring& name, DWORD flags);

// One request connection; blocking calls.
class RequestPipe {
 public:
  explicit RequestPipe(const std::wstring& name) : pipe_(openPipe(name, 0)) {}

  // Two messages, or one where there is no payload.
  void send(std::uint32_t type, const std::vector<std::uint8_t>& payload,
            std::uint32_t clientId = 1);
  // The answer's payload; valid until the next call.
  const std::vector<std::uint8_t>& receive();

 private:
  win32::UniqueFileHandle pipe_;
  std::vector<std::uint8_t> answer_;
};

}  // namespace orva_accelerator::bench
