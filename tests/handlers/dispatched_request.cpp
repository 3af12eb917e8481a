#include "tests/handlers/dispatched_request.h"

#include <memory>

#include "ipc/message_handler.h"
#include "ipc/pipe_server.h"
#include "tests/handlers/payload_with_margin.h"

namespace orva_accelerator::test {

Bytes answerTo(std::uint32_t type, std::span<const std::uint8_t> payload, std::uint8_t margin) {
  ipc::PipeServer server;  // Never started.
  const PayloadWithMargin request(payload, margin);
  ipc::MessageHeader header = {};
  header.magic = ipc::kRequestMagic;
  header.type = type;
  header.payloadLength = static_cast<std::uint32_t>(payload.size());
  header.clientId = 7;
  void* response = &header;  // The dispatcher is to set both, whatever they were.
  std::uint32_t responseLength = 4711;
  ipc::DispatchRequest(server, header, request.get(), response, responseLength);
  const std::unique_ptr<std::uint8_t[]> owned(static_cast<std::uint8_t*>(response));
  return Bytes(owned.get(), owned.get() + responseLength);
}

Bytes answerTo(const GoldenVector& request) {
  return answerTo(request.type, request.payload());
}

}  // namespace orva_accelerator::test
