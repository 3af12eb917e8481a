// Both ends of one message pipe, the server's as the service has it.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <vector>

#include "ipc/push_pipe.h"
#include "tests/support/pipe_names.h"
#include "tests/support/raw_pipe_client.h"

namespace orva_accelerator::test {

struct MessagePipe {
  static constexpr DWORD kBuffer = 8192;

  MessagePipe() {
    const std::wstring name = uniquePipeName(L"message");
    win32::UniqueFileHandle end(CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX,
                                                 PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1,
                                                 kBuffer, kBuffer, 0, nullptr));
    EXPECT_TRUE(end);
    server = std::make_shared<ipc::PushPipe>(std::move(end));
    EXPECT_EQ(client.open(name), 0U);
  }

  std::shared_ptr<ipc::PushPipe> server;
  RawPipeClient client;
};

// Leaves no room in the pipe: the next write waits until its client reads.
inline constexpr DWORD kFillingSize = 512;
inline void fillPipe(HANDLE pipe) {
  const std::vector<std::uint8_t> message(kFillingSize);
  for (DWORD size = 0; size < MessagePipe::kBuffer; size += kFillingSize) {
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(pipe, message.data(), kFillingSize, &written, nullptr));
  }
}
// Takes what fillPipe left.
inline void drainPipe(RawPipeClient& client) {
  for (DWORD size = 0; size < MessagePipe::kBuffer; size += kFillingSize) {
    EXPECT_EQ(client.read().message.size(), kFillingSize);
  }
}

}  // namespace orva_accelerator::test
