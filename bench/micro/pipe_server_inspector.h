// Reaches into a server that was never started.
#pragma once

#include <memory>
#include <vector>

#include "ipc/pipe_server.h"

namespace orva_accelerator::ipc {

class PipeServerInspector {
 public:
  explicit PipeServerInspector(PipeServer& server) : server_(server) {}

  // As if so many connections had come and gone. The threads are none, so that the server can be
  // destroyed; an entry takes the same room.
  void setFinishedConnections(std::size_t count) { server_.connectionThreads.resize(count); }

  // What an accept loop does with a new connection's thread.
  void addConnectionThread() {
    const std::lock_guard lock(server_.connectionThreadsMutex);
    server_.connectionThreads.push_back(std::thread());
  }
  void removeConnectionThread() { server_.connectionThreads.pop_back(); }

  // The part of a broadcast during which the table of push clients is locked.
  PushClientTable::Pipes snapshotPushPipes() { return server_.pushClients.connectedPipes(); }

 private:
  PipeServer& server_;
};

}  // namespace orva_accelerator::ipc
