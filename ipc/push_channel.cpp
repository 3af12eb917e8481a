// The push pipe: its accept loop, the thread of each connection, and the table of clients.

#include "ipc/monotonic_clock.h"
#include "ipc/pipe_listener.h"
#include "ipc/pipe_security.h"
#include "ipc/pipe_server.h"
#include "win32/detached_thread.h"
#include "win32/race_point.h"

namespace orva_accelerator::ipc {

void PipeServer::PushAcceptLoop() {
  SECURITY_ATTRIBUTES* const security = buildPipeSecurity();
  if (security == nullptr) return;
  while (running) {
    const HANDLE pipe = acceptPipeClient(pushPipeName, security);
    if (pipe == INVALID_HANDLE_VALUE) continue;
    win32::startDetachedThread([this, pipe] { return PushClientThread(pipe); });
  }
}

// Reads nothing but the client's id. That a client has gone is noticed by the next broadcast that
// cannot reach it, or by the supervisor.
DWORD PipeServer::PushClientThread(HANDLE pipeHandle) {
  auto pipe = std::make_shared<PushPipe>(pipeHandle);
  std::uint32_t id = 0;
  DWORD received = 0;
  // A message longer than an id fails with ERROR_MORE_DATA. A client that does not register gets
  // its connection closed, so that bad registrations pile up no handles.
  if (!ReadFile(pipe->get(), &id, sizeof(id), &received, nullptr) || received != sizeof(id)) {
    return GetLastError();
  }
  if (!RegisterPushClient(id, std::move(pipe))) return 0;
  (void)WaitForSingleObject(stopEvent, INFINITE);  // However it ends, the registration ends too.
  UnregisterPushClient(id);
  return 0;
}

bool PipeServer::RegisterPushClient(std::uint32_t id, std::shared_ptr<PushPipe> pipe) {
  win32::racePoint("race: registration");
  const std::lock_guard lock(pushClientsMutex);
  const std::int64_t now = monotonicMs();
  PushClient& client = pushClients[id];
  if (client.pipe && client.pipe != pipe) client.pipe->close();
  client.id = id;
  client.pipe = std::move(pipe);
  client.name.clear();
  client.connected = true;
  client.lastHeartbeatMs = now;
  return true;
}

void PipeServer::UnregisterPushClient(std::uint32_t id) {
  win32::racePoint("race: unregistration");
  const std::lock_guard lock(pushClientsMutex);
  const auto found = pushClients.find(id);
  if (found == pushClients.end()) return;
  if (found->second.pipe) found->second.pipe->close();
  pushClients.erase(found);
}

void PipeServer::TouchPushClient(std::uint32_t id) {
  const std::lock_guard lock(pushClientsMutex);
  const auto found = pushClients.find(id);
  if (found != pushClients.end()) found->second.lastHeartbeatMs = monotonicMs();
}

std::uint32_t PipeServer::PushClientCount() {
  const std::lock_guard lock(pushClientsMutex);
  return static_cast<std::uint32_t>(pushClients.size());
}

}  // namespace orva_accelerator::ipc
