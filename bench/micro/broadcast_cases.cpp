#include <windows.h>

#include <memory>
#include <stdexcept>

#include "bench/micro/allocation_count.h"
#include "bench/micro/cases.h"
#include "bench/micro/import_patch.h"
#include "bench/micro/pipe_server_inspector.h"
#include "bench/micro/timing.h"
#include "ipc/wire/notifications.h"

namespace orva_accelerator::bench {

namespace {

BOOL WINAPI takeEverything(HANDLE, LPCVOID, DWORD length, LPDWORD written, LPOVERLAPPED) {
  *written = length;
  return TRUE;
}

}  // namespace

void measureBroadcast(Tables& tables) {
  tables.begin("A notification without its writes",
               "`BroadcastPush` with a payload of 8 bytes and a `WriteFile` that does nothing. "
               "`locked` is how long the table of clients is locked meanwhile.",
               {"clients", "ns", "ns a client", "locked ns", "blocks"});
  const ImportPatch patch("WriteFile", reinterpret_cast<void*>(takeEverything));
  for (const std::uint32_t clients : {1U, 10U, 100U, 500U}) {
    ipc::PipeServer server;
    for (std::uint32_t id = 1; id <= clients; ++id) {
      // Any handle will do, but that of no file; nobody uses it.
      auto pipe = std::make_shared<ipc::PushPipe>(win32::UniqueFileHandle(nullptr));
      (void)server.RegisterPushClient(id, std::move(pipe));  // Always true.
    }
    const std::uint8_t payload[8] = {};
    const auto broadcast = [&] {
      return server.BroadcastPush(1, ipc::NotifyUserLogin, payload, sizeof(payload));
    };
    if (!broadcast()) throw std::runtime_error("the writes are not replaced");
    const Allocations before = allocationsSoFar();
    (void)broadcast();  // Has just succeeded.
    const std::size_t blocks = allocationsSoFar().blocks - before.blocks;
    const Timing whole = timeOf([&] { (void)broadcast(); });
    ipc::PipeServerInspector inspector(server);
    const Timing locked = timeOf([&] { (void)inspector.snapshotPushPipes(); });
    tables.add(
        {std::to_string(clients), number(whole.medianNs, 0), number(whole.medianNs / clients, 0),
         number(locked.medianNs, 0), std::to_string(blocks)},
        {{"clients", clients},
         {"medianNs", whole.medianNs},
         {"lockedNs", locked.medianNs},
         {"blocks", blocks}});
  }
}

}  // namespace orva_accelerator::bench
