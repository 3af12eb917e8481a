// A server with real pipes inside the test's process, and clients that talk to it in bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "ipc/pipe_server.h"
#include "tests/support/golden_vectors.h"
#include "tests/support/pipe_server_inspector.h"
#include "tests/support/raw_pipe_client.h"

namespace orva_accelerator::test {

// Header and payload of a request, back to back.
Bytes requestBytes(std::uint32_t clientId, std::uint32_t type,
                   std::span<const std::uint8_t> payload = {});

// Started on pipe names of its own, and never destroyed: destroying a started server ends the
// process. A server whose test takes longer than ten seconds stops itself unless it has a push
// client then.
class RunningServer {
 public:
  RunningServer();

  ipc::PipeServer& get() const { return *server_; }
  ipc::PipeServer* operator->() const { return server_; }
  ipc::PipeServerInspector inspect() const { return ipc::PipeServerInspector(*server_); }
  const std::wstring& requestPipe() const { return requestPipe_; }
  const std::wstring& pushPipe() const { return pushPipe_; }

 private:
  std::wstring requestPipe_;
  std::wstring pushPipe_;
  ipc::PipeServer* server_;
};

// One connection to the request pipe.
class RequestConnection {
 public:
  explicit RequestConnection(const RunningServer& server);
  explicit RequestConnection(const std::wstring& pipeName);

  // The payload of the answer; nothing, and a failed test, when no whole answer comes.
  std::optional<Bytes> ask(std::uint32_t clientId, std::uint32_t type,
                           std::span<const std::uint8_t> payload = {});
  // The same with the bytes of a whole request.
  std::optional<Bytes> askBytes(std::span<const std::uint8_t> request);

  RawPipeClient& pipe() { return pipe_; }

 private:
  RawPipeClient pipe_;
};

// A notification as it came over the pipe.
struct Notification {
  std::uint32_t clientId = 0;
  std::uint32_t type = 0;
  std::uint32_t payloadLength = 0;  // As the header announces it.
  Bytes payload;
  Bytes bytes;  // Header and payload.
};

// The fields of a notification's header, without its payload; nothing when it is no such header.
std::optional<Notification> parseNotificationHeader(std::span<const std::uint8_t> message);

// One connection to the push pipe.
class PushConnection {
 public:
  // Registered when the constructor returns.
  PushConnection(const RunningServer& server, std::uint32_t clientId);
  // Has asked to be registered when the constructor returns; of another process nobody can tell
  // when it is. The first notification that arrives tells.
  PushConnection(const std::wstring& pipeName, std::uint32_t clientId);

  // The next notification; nothing when none has come by then, or when it is not whole.
  std::optional<Notification> next(std::chrono::milliseconds limit = kPatience);

  RawPipeClient& pipe() { return pipe_; }

 private:
  RawPipeClient pipe_;
};

// To learn, without waiting, that a connection has received all that was broadcast to it so far:
// broadcasts a notification that the service itself never makes, ...
void broadcastMarker(const RunningServer& server);
// ... and takes the next notification of the connection, which must be that one.
[[nodiscard]] testing::AssertionResult markerIsNext(PushConnection& connection);

}  // namespace orva_accelerator::test
