// A client's presence: its heartbeats and its leave.

#include <windows.h>

#include "handlers/request_handlers.h"
#include "handlers/response_writer.h"
#include "ipc/monotonic_clock.h"
#include "ipc/notifiers.h"
#include "ipc/pipe_server.h"
#include "ipc/wire/responses.h"

namespace orva_accelerator::ipc {

namespace {

// Lets the library begin its stop before the service ends under it.
constexpr DWORD kLastClientPauseMs = 100;

}  // namespace

void HandleClientLeaving(PipeServer& server, const MessageHeader& header, const void* /*payload*/,
                         void*& response, std::uint32_t& responseLength) {
  if (server.ownership.isHeldBy(header.clientId)) StopAccelUnasked(server.ownership);
  server.UnregisterPushClient(header.clientId);
  const std::uint32_t remaining = server.PushClientCount();
  respond(ClientLeavingResponse{remaining == 0 ? 1U : 0U, remaining}, response, responseLength);
  if (remaining == 0) {
    if (server.ownership.isActive()) StopAccelUnasked(server.ownership);
    Sleep(kLastClientPauseMs);
    server.stop();
  }
}

void HandleHeartbeat(PipeServer& server, const MessageHeader& header, const void* /*payload*/,
                     void*& response, std::uint32_t& responseLength) {
  server.TouchPushClient(header.clientId);
  const auto now = static_cast<std::uint32_t>(static_cast<std::uint64_t>(monotonicMs()));
  respond(now, response, responseLength);
}

}  // namespace orva_accelerator::ipc
