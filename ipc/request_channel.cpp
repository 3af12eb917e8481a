// The request pipe: its accept loop and the loop of each connection.

#include <algorithm>
#include <memory>

#include "ipc/payload_buffer.h"
#include "ipc/pipe_listener.h"
#include "ipc/pipe_security.h"
#include "ipc/pipe_server.h"

namespace orva_accelerator::ipc {

namespace {

// Far more than any real request. Up to here, room is made for what a header announces; beyond it,
// room follows what has arrived, because a header costs its sender nothing and the system touches
// every page of a buffer that it is given to read into.
constexpr std::size_t kLargestTrustedPayload = std::size_t{1024} * 1024;

// One read from the message at hand. True when it succeeded or left the rest of a longer message
// in the pipe.
bool readOnce(HANDLE pipe, void* buffer, std::size_t size, DWORD& received, bool& messageEnded) {
  received = 0;
  messageEnded = ReadFile(pipe, buffer, static_cast<DWORD>(size), &received, nullptr) != FALSE;
  return messageEnded || GetLastError() == ERROR_MORE_DATA;
}

bool readHeader(HANDLE pipe, MessageHeader& header) {
  DWORD received = 0;
  bool messageEnded = false;
  return readOnce(pipe, &header, sizeof(header), received, messageEnded) &&
         received == sizeof(header) && header.magic == kRequestMagic;
}

// Reads exactly `length` bytes from one message; what the message has beyond them stays in the
// pipe. A message that ends early is no payload, and neither is one spread over several messages.
bool readPayload(HANDLE pipe, std::size_t length, PayloadBuffer& buffer) {
  std::size_t total = 0;
  for (;;) {
    const std::size_t step = std::min(length - total, kLargestTrustedPayload);
    buffer.reserve(total + step);
    DWORD received = 0;
    bool messageEnded = false;
    if (!readOnce(pipe, buffer.data() + total, step, received, messageEnded)) return false;
    total += received;
    if (total == length) return true;
    if (messageEnded || received != step) return false;
  }
}

bool readRequest(HANDLE pipe, MessageHeader& header, PayloadBuffer& payload) {
  if (!readHeader(pipe, header)) return false;
  return header.payloadLength == 0 || readPayload(pipe, header.payloadLength, payload);
}

void writeIgnoringFailure(HANDLE pipe, const void* bytes, std::uint32_t length) {
  DWORD written = 0;
  (void)WriteFile(pipe, bytes, length, &written,
                  nullptr);  // A client that has gone is noticed by the next read.
}

void writeResponse(HANDLE pipe, std::unique_ptr<std::uint8_t[]> response, std::uint32_t length) {
  const ResponseHeader header = {0, length};
  writeIgnoringFailure(pipe, &header, sizeof(header));
  if (response) writeIgnoringFailure(pipe, response.get(), length);
  response.reset();
  (void)FlushFileBuffers(pipe);  // Waits until the client has read everything, or has gone.
}

}  // namespace

void PipeServer::RequestAcceptLoop() {
  SECURITY_ATTRIBUTES* const security = buildPipeSecurity();
  if (security == nullptr) return;
  while (running) {
    const HANDLE pipe = acceptPipeClient(requestPipeName, security);
    if (pipe == INVALID_HANDLE_VALUE) continue;
    {
      const std::lock_guard lock(requestPipesMutex);
      requestPipes.insert(pipe);
    }
    std::thread connection(&PipeServer::ConnectionLoop, this, pipe);
    const std::lock_guard lock(connectionThreadsMutex);
    connectionThreads.push_back(std::move(connection));
  }
}

void PipeServer::ConnectionLoop(HANDLE pipe) {
  PayloadBuffer payload;
  MessageHeader header;
  while (running && readRequest(pipe, header, payload)) {
    void* response = nullptr;
    std::uint32_t responseLength = 0;
    messageHandler(header, payload.readable(), response, responseLength);
    // A handler that hands out a pointer with length 0 keeps it.
    std::unique_ptr<std::uint8_t[]> owned(responseLength != 0 ? static_cast<std::uint8_t*>(response)
                                                              : nullptr);
    writeResponse(pipe, std::move(owned), responseLength);
  }
  {
    const std::lock_guard lock(requestPipesMutex);
    requestPipes.erase(pipe);
  }
  (void)DisconnectNamedPipe(pipe);  // Fails when the client has gone before us.
  (void)CloseHandle(pipe);          // Ours alone, and closed only here.
}

}  // namespace orva_accelerator::ipc
