// The one callable into which the pipe server feeds every request.
#pragma once

#include <cstdint>
#include <functional>

#include "ipc/wire/headers.h"

namespace orva_accelerator::ipc {

class PipeServer;

// Called on the connection's thread, for several connections at once. `payload` is never null and
// is followed by PayloadBuffer::kReadMargin readable bytes; how many bytes the client sent is
// header.payloadLength. On return `response` is null, or points to exactly `responseLength` bytes
// allocated with new std::uint8_t[], which the connection releases. A response of length 0 is
// neither written nor released.
using MessageHandler = std::function<void(const MessageHeader& header, const void* payload,
                                          void*& response, std::uint32_t& responseLength)>;

// What PipeServer::start installs, for the server itself. Defined by the request handlers.
void DispatchRequest(PipeServer& server, const MessageHeader& header, const void* payload,
                     void*& response, std::uint32_t& responseLength);

}  // namespace orva_accelerator::ipc
