// The push clients of one server.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "bench/client/pipe_client.h"
#include "bench/client/rounds.h"

namespace orva_accelerator::bench {

class PushGroup {
 public:
  explicit PushGroup(const Server& server) : server_(server), orders_(server.requestPipe) {}

  // Connects clients up to that number and waits until the server knows them all.
  void growTo(int count);

  // Orders `pushes` notifications, one after the other, each to all clients. The time is that of
  // the order, which is answered when everybody has been written to; reading what was pushed comes
  // after it. With `reading`, every client has a read under way when the notification comes. An
  // operation is one client's notification.
  Slot measure(int pushes, bool reading);

 private:
  struct Client {
    win32::UniqueFileHandle pipe;
    win32::UniqueKernelHandle event;
    OVERLAPPED overlapped = {};
    std::uint8_t bytes[64] = {};
  };

  void order();
  void beginRead(Client& client);
  void endRead(Client& client);
  static bool hasMessage(const Client& client);
  bool haveAllMessages() const;
  void readEverything();

  const Server& server_;
  RequestPipe orders_;
  std::vector<std::unique_ptr<Client>> clients_;  // Reads under way point into them.
};

}  // namespace orva_accelerator::bench
