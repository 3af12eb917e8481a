// The request pipe: its accept loop and the loop of each connection.

#include <algorithm>
#include <memory>

#include "ipc/payload_buffer.h"
#include "ipc/pipe_listener.h"
#include "ipc/pipe_server.h"
#include "ipc/wire/messages.h"

namespace orva_accelerator::ipc {

namespace {

// Up to the longest request that a client can mean, room is made for what a header announces;
// beyond it, room follows what has arrived, because a header costs its sender nothing and the
// system touches every page of a buffer that it is given to read into.
constexpr std::size_t kFirstStep = longestRequest();
constexpr std::size_t kLargestStep = std::size_t{1024} * 1024;

struct Read {
  DWORD received = 0;
  bool succeeded = false;     // Also when the rest of a longer message is left in the pipe.
  bool messageEnded = false;  // Nothing is left of it.
};

// One read from the message at hand.
Read readOnce(HANDLE pipe, void* buffer, std::size_t size) {
  Read read;
  read.messageEnded =
      ReadFile(pipe, buffer, static_cast<DWORD>(size), &read.received, nullptr) != FALSE;
  read.succeeded = read.messageEnded || GetLastError() == ERROR_MORE_DATA;
  return read;
}

bool readHeader(HANDLE pipe, MessageHeader& header) {
  const Read read = readOnce(pipe, &header, sizeof(header));
  return read.succeeded && read.received == sizeof(header) && header.magic == kRequestMagic;
}

// Reads exactly `length` bytes from one message; what the message has beyond them stays in the
// pipe. A message that ends early is no payload, and neither is one spread over several messages.
bool readPayload(HANDLE pipe, std::size_t length, PayloadBuffer& buffer) {
  std::size_t total = 0;
  for (;;) {
    const std::size_t step = std::min(length - total, std::clamp(total, kFirstStep, kLargestStep));
    buffer.reserve(total + step);
    const Read read = readOnce(pipe, buffer.data() + total, step);
    if (!read.succeeded) return false;
    total += read.received;
    if (total == length) return true;
    if (read.messageEnded || read.received != step) return false;
  }
}

bool readRequest(HANDLE pipe, MessageHeader& header, PayloadBuffer& payload) {
  if (!readHeader(pipe, header)) return false;
  return header.payloadLength == 0 || readPayload(pipe, header.payloadLength, payload);
}

// What a client has logged in with does not stay in memory for the life of its connection.
void wipeCredentials(const MessageHeader& header, PayloadBuffer& payload) {
  if (header.type != MsgUserLogin || header.payloadLength == 0) return;
  SecureZeroMemory(payload.data(), header.payloadLength);
}

void writeIgnoringFailure(HANDLE pipe, const void* bytes, std::uint32_t length) {
  DWORD written = 0;
  // A client that has gone is noticed by the next read.
  (void)WriteFile(pipe, bytes, length, &written, nullptr);
}

void writeResponse(HANDLE pipe, std::unique_ptr<std::uint8_t[]> response, std::uint32_t length) {
  const ResponseHeader header = {0, length};
  writeIgnoringFailure(pipe, &header, sizeof(header));
  if (response) writeIgnoringFailure(pipe, response.get(), length);
  response.reset();
  // Waits until the client has read everything, or has gone.
  (void)FlushFileBuffers(pipe);
}

}  // namespace

void PipeServer::RequestAcceptLoop() {
  if (buildPipeSecurity() == nullptr) return;
  while (running) {
    win32::UniqueFileHandle pipe = acceptPipeClient(requestPipeName);
    if (!pipe) continue;
    {
      const std::lock_guard lock(requestPipesMutex);
      requestPipes.insert(pipe.get());
    }
    std::thread connection(&PipeServer::ConnectionLoop, this, std::move(pipe));
    const std::lock_guard lock(connectionThreadsMutex);
    connectionThreads.push_back(std::move(connection));
  }
}

void PipeServer::ConnectionLoop(win32::UniqueFileHandle pipe) {
  PayloadBuffer payload;
  MessageHeader header;
  while (running && readRequest(pipe.get(), header, payload)) {
    void* response = nullptr;
    std::uint32_t responseLength = 0;
    messageHandler(header, payload.readable(), response, responseLength);
    wipeCredentials(header, payload);
    // A handler that hands out a pointer with length 0 keeps it.
    std::unique_ptr<std::uint8_t[]> owned(responseLength != 0 ? static_cast<std::uint8_t*>(response)
                                                              : nullptr);
    writeResponse(pipe.get(), std::move(owned), responseLength);
  }
  {
    const std::lock_guard lock(requestPipesMutex);
    requestPipes.erase(pipe.get());
  }
  // Fails when the client has gone before us.
  (void)DisconnectNamedPipe(pipe.get());
}

}  // namespace orva_accelerator::ipc
