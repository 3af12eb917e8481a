// The push pipe: its accept loop and the thread of each connection.

#include "ipc/pipe_listener.h"
#include "ipc/pipe_server.h"
#include "ipc/write_watchdog.h"
#include "win32/detached_thread.h"

namespace orva_accelerator::ipc {

void PipeServer::PushAcceptLoop() {
  if (buildPipeSecurity() == nullptr) return;
  while (running) {
    win32::UniqueFileHandle pipe = acceptPipeClient(pushPipeName);
    if (!pipe) continue;
    win32::startDetachedThread(
        [this, pipe = std::move(pipe)]() mutable { return PushClientThread(std::move(pipe)); });
  }
}

// Reads nothing but the client's id. That a client has gone is noticed by the next broadcast that
// cannot reach it, or by the supervisor.
DWORD PipeServer::PushClientThread(win32::UniqueFileHandle pipe) {
  std::uint32_t id = 0;
  DWORD received = 0;
  // A message longer than an id fails with ERROR_MORE_DATA. A client that does not register gets
  // its connection closed, so that bad registrations pile up no handles.
  if (!ReadFile(pipe.get(), &id, sizeof(id), &received, nullptr) || received != sizeof(id)) {
    return GetLastError();
  }
  // The first broadcast may come when the library has used up what this takes.
  prepareWriteWatchdog();
  if (!RegisterPushClient(id, std::make_shared<PushPipe>(std::move(pipe)))) return 0;
  // However the wait ends, the registration ends too.
  (void)WaitForSingleObject(stopEvent, INFINITE);
  UnregisterPushClient(id);
  return 0;
}

}  // namespace orva_accelerator::ipc
