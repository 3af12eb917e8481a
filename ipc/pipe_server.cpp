#include "ipc/pipe_server.h"

#include <exception>

#include "ipc/monotonic_clock.h"

namespace orva_accelerator::ipc {

std::atomic<PipeServer*> currentPipeServer = nullptr;

bool PipeServer::start(const std::wstring& requestName, const std::wstring& pushName) {
  if (running) return false;
  // Ahead of everything that the threads of the first start may be reading.
  if (hasThreads()) std::terminate();
  if (stopEvent == nullptr) {
    stopEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (stopEvent == nullptr) return false;
  } else {
    // Fails only for a handle that is not an event.
    (void)ResetEvent(stopEvent);
  }
  requestPipeName = requestName;
  pushPipeName = pushName;
  running.exchange(true);
  lastActivityMs.exchange(monotonicMs());
  currentPipeServer = this;
  messageHandler = [this](const MessageHeader& header, const void* payload, void*& response,
                          std::uint32_t& responseLength) {
    DispatchRequest(*this, header, payload, response, responseLength);
  };
  requestAcceptThread = std::thread(&PipeServer::RequestAcceptLoop, this);
  pushAcceptThread = std::thread(&PipeServer::PushAcceptLoop, this);
  supervisorThread = std::thread(&PipeServer::SupervisorLoop, this);
  return true;
}

void PipeServer::stop() {
  running.exchange(false);
  if (stopEvent != nullptr) {
    // Fails only for a handle that is not an event.
    (void)SetEvent(stopEvent);
  }
}

void PipeServer::recordActivity() {
  lastActivityMs.exchange(monotonicMs());
}

PipeServer::~PipeServer() {
  stop();
  abandonTables();
  {
    const std::lock_guard lock(connectionThreadsMutex);
    connectionThreads.clear();  // Ends the process if there is any: none is ever joined.
  }
  // Asked here rather than left to the members' own destruction, so that the message handler is
  // still whole when connection threads call it in this very moment.
  if (hasThreads()) std::terminate();
}

bool PipeServer::hasThreads() const {
  return supervisorThread.joinable() || pushAcceptThread.joinable() ||
         requestAcceptThread.joinable();
}

// Push and connection threads wake up from the stop event and from broken pipes just now, and use
// the tables under their mutexes: they find them empty, never half destroyed. The pipes themselves
// stay open until the process ends, so that a client sees them break only then.
void PipeServer::abandonTables() {
  pushClients.abandon();
  const std::lock_guard lock(requestPipesMutex);
  requestPipes.clear();
}

}  // namespace orva_accelerator::ipc
