// The fixture of all tests that talk to a server through its pipes.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <string>

#include "ipc/pipe_server.h"
#include "tests/ipc/frames.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/pipe_names.h"
#include "tests/support/pipe_server_inspector.h"
#include "tests/support/raw_pipe_client.h"

namespace orva_accelerator::test {

// The supervisor would stop a server ten seconds after its start, because no host application
// runs. From this call on, until the process ends, its waits are too long for any test.
void keepSupervisorsAsleep();

// A server of its own on pipes of its own, stopped at the end of the test and never destroyed,
// because that would end the process.
class ChannelTest : public testing::Test {
 protected:
  ChannelTest();
  ~ChannelTest() override;

  // Starts the server; a test replaces system functions before that.
  void start();

  // A connected request client.
  RawPipeClient connect() const;

  // A push client that has announced `id`, once the table has it.
  RawPipeClient registerPushClient(std::uint32_t id) const;

  // The server's end of the one request connection that is open.
  HANDLE waitForOnlyRequestPipe() const;

  // The server's end of that push client's pipe; INVALID_HANDLE_VALUE when it is not registered.
  HANDLE pushPipeOf(std::uint32_t id) const;

  bool pushClientCountBecomes(std::size_t count) const;

  ipc::PipeServer& server_ = *new ipc::PipeServer;
  ipc::PipeServerInspector inspector_{server_};
  const std::wstring requestName_ = uniquePipeName(L"request");
  const std::wstring pushName_ = uniquePipeName(L"push");
};

// Reads one response: its header as one message, then `payload` as the next, if there is any.
void expectResponse(RawPipeClient& client, const Bytes& payload);

// Reads the response of the echoing dispatcher.
void expectEcho(RawPipeClient& client, const Bytes& payload, std::uint32_t type = kEchoType,
                std::uint32_t clientId = kClientId);

// Sends a request without payload and reads its echo: the connection works.
void expectServed(RawPipeClient& client);

}  // namespace orva_accelerator::test
