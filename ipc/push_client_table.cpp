#include "ipc/push_client_table.h"

#include <algorithm>

#include "ipc/monotonic_clock.h"
#include "win32/race_point.h"

namespace orva_accelerator::ipc {

void PushClientTable::put(std::uint32_t id, std::shared_ptr<PushPipe> pipe) {
  win32::racePoint("race: registration");
  const std::lock_guard lock(pushClientsMutex);
  const std::int64_t now = monotonicMs();
  PushClient& client = pushClients[id];
  if (client.pipe && client.pipe != pipe) client.pipe->close();
  client = {id, std::move(pipe), {}, true, now};
}

void PushClientTable::remove(std::uint32_t id) {
  win32::racePoint("race: unregistration");
  const std::lock_guard lock(pushClientsMutex);
  const auto found = pushClients.find(id);
  if (found == pushClients.end()) return;
  if (found->second.pipe) found->second.pipe->close();
  pushClients.erase(found);
}

void PushClientTable::removePipes(const Pipes& pipes) {
  if (pipes.empty()) return;
  win32::racePoint("race: broadcast clean-up");
  const std::lock_guard lock(pushClientsMutex);
  std::erase_if(pushClients, [&pipes](const auto& entry) {
    const auto& pipe = entry.second.pipe;
    if (std::ranges::find(pipes, pipe) == pipes.end()) return false;
    pipe->close();
    return true;
  });
}

void PushClientTable::abandon() {
  const std::lock_guard lock(pushClientsMutex);
  for (auto& [id, client] : pushClients) {
    if (client.pipe) client.pipe->abandon();
  }
  pushClients.clear();
}

void PushClientTable::touch(std::uint32_t id) {
  const std::lock_guard lock(pushClientsMutex);
  const auto found = pushClients.find(id);
  if (found != pushClients.end()) found->second.lastHeartbeatMs = monotonicMs();
}

std::uint32_t PushClientTable::count() {
  const std::lock_guard lock(pushClientsMutex);
  return static_cast<std::uint32_t>(pushClients.size());
}

PushClientTable::Pipes PushClientTable::connectedPipes() {
  Pipes pipes;
  const std::lock_guard lock(pushClientsMutex);
  pipes.reserve(pushClients.size());
  for (const auto& [id, client] : pushClients) {
    if (client.connected && client.pipe) pipes.push_back(client.pipe);
  }
  return pipes;
}

}  // namespace orva_accelerator::ipc
