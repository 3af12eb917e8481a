#include "tests/ipc/scripted_dispatcher.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>

#include "tests/ipc/frames.h"

namespace orva_accelerator::test {
namespace {

struct Dispatchers {
  std::mutex mutex;
  std::map<const ipc::PipeServer*, Dispatcher> byServer;
};

// Never destroyed: connection threads may come until the process ends.
Dispatchers& dispatchers() {
  static Dispatchers* const all = new Dispatchers;
  return *all;
}

}  // namespace

void setDispatcher(const ipc::PipeServer& server, Dispatcher dispatcher) {
  const std::lock_guard lock(dispatchers().mutex);
  dispatchers().byServer[&server] = std::move(dispatcher);
}

void echo(const ipc::MessageHeader& header, const void* payload, void*& response,
          std::uint32_t& responseLength) {
  if (header.type == kUnansweredType) return;
  Bytes answer = u32Bytes({header.type, header.clientId});
  const auto* const bytes = static_cast<const std::uint8_t*>(payload);
  answer.insert(answer.end(), bytes, bytes + header.payloadLength);
  respond(answer, response, responseLength);
}

void respond(const Bytes& bytes, void*& response, std::uint32_t& responseLength) {
  auto* const copy = new std::uint8_t[bytes.size()];
  std::copy(bytes.begin(), bytes.end(), copy);
  response = copy;
  responseLength = static_cast<std::uint32_t>(bytes.size());
}

}  // namespace orva_accelerator::test

void orva_accelerator::ipc::DispatchRequest(PipeServer& server, const MessageHeader& header,
                                            const void* payload, void*& response,
                                            std::uint32_t& responseLength) {
  test::Dispatcher dispatcher = test::echo;
  {
    const std::lock_guard lock(test::dispatchers().mutex);
    const auto found = test::dispatchers().byServer.find(&server);
    if (found != test::dispatchers().byServer.end()) dispatcher = found->second;
  }
  dispatcher(header, payload, response, responseLength);
}
