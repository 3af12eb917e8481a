// A server with push clients that do not read.
#pragma once

#include <cstdint>

#include "tests/ipc/channel_test.h"
#include "tests/ipc/message_pipe.h"

namespace orva_accelerator::test {

class PushBound : public ChannelTest {
 protected:
  void SetUp() override { start(); }

  bool broadcast(const Bytes& payload) {
    return server_.BroadcastPush(7, 0x1003, payload.data(),
                                 static_cast<std::uint32_t>(payload.size()));
  }
  // A client that has left no room in its pipe and does not read.
  RawPipeClient registerFullClient(std::uint32_t id) const {
    RawPipeClient client = registerPushClient(id);
    fillPipe(pushPipeOf(id));
    return client;
  }
};

}  // namespace orva_accelerator::test
