// A client for tests that kill it: prints "begun", goes as far as its argument says, prints "there"
// and waits.
//   connected   has connected
//   header      has sent the header of a request whose payload does not come
//   unread      has sent a request and does not read the answer
//   asking      waits for an answer of the library
//   registered  has registered on the push pipe under the id that is the second argument
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "client/message_pipe.h"
#include "client/pipe_opener.h"
#include "client/requests.h"
#include "ipc/wire/headers.h"
#include "ipc/wire/messages.h"
#include "ipc/wire/pipe_names.h"

namespace client = orva_accelerator::client;
namespace ipc = orva_accelerator::ipc;

namespace {

client::Bytes messageFor(std::string_view moment, std::uint32_t clientId) {
  constexpr std::uint32_t kClientId = 7;
  if (moment == "header") {
    client::Bytes whole =
        client::encodeFrame(ipc::MsgUserLogin, kClientId, client::Bytes(100, 0)).value();
    whole.resize(sizeof(ipc::MessageHeader));
    return whole;
  }
  if (moment == "registered") return client::encodePushRegistration(clientId);
  return client::encodeFrame(moment == "asking" ? ipc::MsgGetAccelData : ipc::MsgHeartbeat,
                             kClientId, {})
      .value();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  (void)std::puts("begun");
  (void)std::fflush(stdout);  // Who waits for the line misses it if it cannot be written.
  const std::string_view moment = argv[1];
  const auto clientId = static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10));
  const client::Deadline deadline = client::Deadline::after(std::chrono::seconds(30));
  const client::Endpoint endpoint{
      moment == "registered" ? ipc::kPushPipeName : ipc::kRequestPipeName, false};
  auto pipe = client::openPipe(endpoint, deadline, "connect");
  if (!pipe) return 1;
  if (moment != "connected") {
    if (!pipe.value().write(messageFor(moment, clientId), deadline, "write")) return 1;
  }
  (void)std::puts("there");
  (void)std::fflush(stdout);  // As above.
  Sleep(60'000);
  return 0;
}
