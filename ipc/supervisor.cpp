// The thread that ends the service when nobody needs it any more.

#include "ipc/notifiers.h"
#include "ipc/pipe_server.h"
#include "ipc/process_search.h"

namespace orva_accelerator::ipc {

namespace {

constexpr DWORD kCycleMs = 10'000;
constexpr wchar_t kHostApplication[] = L"Zandor.exe";

// Whether the process at the other end of the pipe runs. Whatever cannot be asked counts as gone.
bool isClientProcessAlive(HANDLE pipe) {
  ULONG processId = 0;
  if (!GetNamedPipeClientProcessId(pipe, &processId)) return false;
  const win32::UniqueKernelHandle process(
      OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  if (!process) return false;
  DWORD exitCode = 0;
  return GetExitCodeProcess(process.get(), &exitCode) && exitCode == STILL_ACTIVE;
}

}  // namespace

// Clients are judged by their processes alone, never by how long they have been silent: a client
// that is paused in a debugger or on a sleeping PC keeps its acceleration.
void PipeServer::SupervisorLoop() {
  while (running) {
    Sleep(kCycleMs);
    restartEmptySlots();
    if (FindProcessByName(kHostApplication) || pushClients.anyPipe(isClientProcessAlive)) continue;
    if (ownership.isActive()) stopAccelUnasked(ownership);
    stop();
    return;
  }
}

// An accept loop that has ended keeps its slot: these restarts matter only for a slot that was
// never filled.
void PipeServer::restartEmptySlots() {
  if (running && !pushAcceptThread.joinable()) {
    pushAcceptThread = std::thread(&PipeServer::PushAcceptLoop, this);
  }
  if (running && !requestAcceptThread.joinable()) {
    requestAcceptThread = std::thread(&PipeServer::RequestAcceptLoop, this);
  }
}

}  // namespace orva_accelerator::ipc
