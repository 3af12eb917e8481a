// One registered client of the push pipe.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ipc/push_pipe.h"

namespace orva_accelerator::ipc {

struct PushClient {
  std::uint32_t id = 0;              // The client id; also the key in the table.
  std::shared_ptr<PushPipe> pipe;    // Null means none. Closed when the entry is removed.
  std::wstring name;                 // Always empty; nothing tells the service a name.
  bool connected = false;            // True from registration on.
  std::int64_t lastHeartbeatMs = 0;  // monotonicMs of registration or the latest heartbeat.
};

}  // namespace orva_accelerator::ipc
