// The registered clients of the push pipe.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ipc/push_pipe.h"

namespace orva_accelerator::ipc {

struct PushClient {
  std::uint32_t id = 0;              // The client id; also the key in the table.
  std::shared_ptr<PushPipe> pipe;    // Null means none. Closed when the entry is removed.
  std::wstring name;                 // Always empty; nothing tells the service a name.
  bool connected = false;            // True from registration on.
  std::int64_t lastHeartbeatMs = 0;  // monotonicMs of registration or the latest heartbeat.
};

// At most one client an id, in ascending order of the ids. Callable from any thread: every call
// takes pushClientsMutex, and none writes to a pipe or reads from one.
class PushClientTable {
 public:
  using Pipes = std::vector<std::shared_ptr<PushPipe>>;

  // Inserts the client, or gives the client of that id a new pipe and closes its old one.
  void put(std::uint32_t id, std::shared_ptr<PushPipe> pipe);
  // Removes the client and closes its pipe; does nothing when there is none of that id.
  void remove(std::uint32_t id);
  // Removes every client with one of these pipes, and closes them.
  void removePipes(const Pipes& pipes);
  // Empties the table and leaves the pipes open until the process ends.
  void abandon();

  // Stamps the client's heartbeat; does nothing when there is none of that id.
  void touch(std::uint32_t id);

  std::uint32_t count();
  // The pipes of all clients that are connected.
  Pipes connectedPipes();
  // Whether `matches` is true for any client's pipe. Nobody can close the pipe meanwhile.
  template <typename Predicate>
  bool anyPipe(Predicate matches) {
    const std::lock_guard lock(pushClientsMutex);
    return std::ranges::any_of(pushClients, [&matches](const auto& entry) {
      const auto& pipe = entry.second.pipe;
      return pipe && matches(pipe->get());
    });
  }

 private:
  friend class PipeServerInspector;  // Lets tests see and set the entries.

  std::map<std::uint32_t, PushClient> pushClients;
  std::mutex pushClientsMutex;
};

}  // namespace orva_accelerator::ipc
