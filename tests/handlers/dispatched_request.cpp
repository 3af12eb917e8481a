#include "tests/handlers/dispatched_request.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <memory>

#include "ipc/message_handler.h"
#include "tests/handlers/payload_with_margin.h"

namespace orva_accelerator::test {

namespace {

// Whether memory ends here, as it does behind each block of the guarded heap.
bool memoryEndsAt(const void* address) {
  MEMORY_BASIC_INFORMATION region;
  return VirtualQuery(address, &region, sizeof(region)) != 0 && region.State != MEM_COMMIT;
}

bool heapIsGuarded() {
  const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[48]);
  return memoryEndsAt(block.get() + 48);
}

}  // namespace

Answer dispatch(ipc::PipeServer& server, std::uint32_t type, std::uint32_t clientId,
                std::span<const std::uint8_t> payload, std::uint8_t margin,
                std::optional<std::uint32_t> announced) {
  static const bool guarded = heapIsGuarded();
  const PayloadWithMargin request(payload, margin);
  const auto length = announced.value_or(static_cast<std::uint32_t>(payload.size()));
  const ipc::MessageHeader header = {ipc::kRequestMagic, 0, type, length, 0, clientId};
  std::uint8_t before = 0;
  void* response = &before;  // The dispatcher is to forget both of these.
  std::uint32_t responseLength = 4711;
  ipc::DispatchRequest(server, header, request.get(), response, responseLength);
  const std::unique_ptr<std::uint8_t[]> owned(static_cast<std::uint8_t*>(response));
  if (guarded && owned) {
    EXPECT_TRUE(memoryEndsAt(owned.get() + responseLength)) << "allocated longer than answered";
  }
  return {owned == nullptr, Bytes(owned.get(), owned.get() + responseLength)};
}

Bytes answerTo(std::uint32_t type, std::span<const std::uint8_t> payload, std::uint8_t margin) {
  ipc::PipeServer server;  // Never started.
  return dispatch(server, type, 7, payload, margin).bytes;
}

Bytes answerTo(const GoldenVector& request) {
  return answerTo(request.type, request.payload());
}

}  // namespace orva_accelerator::test
