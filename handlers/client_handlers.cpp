// A client's presence: its heartbeats and its leave.

#include <windows.h>

#include "handlers/request_handlers.h"
#include "ipc/monotonic_clock.h"
#include "ipc/notifiers.h"
#include "ipc/pipe_server.h"

namespace orva_accelerator::ipc {

namespace {

// Lets the library begin its stop before the service ends under it.
constexpr DWORD kLastClientPauseMs = 100;

}  // namespace

Answer HandleClientLeaving(const Request<MsgClientLeaving>& request) {
  PipeServer& server = request.server;
  if (server.ownership.isHeldBy(request.clientId)) stopAccelUnasked(server.ownership);
  server.UnregisterPushClient(request.clientId);
  const std::uint32_t remaining = server.PushClientCount();
  Answer answer =
      request.answer({.lastClient = remaining == 0 ? 1U : 0U, .remainingClients = remaining});
  if (remaining == 0) {
    if (server.ownership.isActive()) stopAccelUnasked(server.ownership);
    Sleep(kLastClientPauseMs);
    server.stop();
  }
  return answer;
}

Answer HandleHeartbeat(const Request<MsgHeartbeat>& request) {
  request.server.TouchPushClient(request.clientId);
  return request.answer({.serviceClockMs = static_cast<std::uint32_t>(monotonicMs())});
}

}  // namespace orva_accelerator::ipc
