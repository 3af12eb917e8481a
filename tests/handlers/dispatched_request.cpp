#include "tests/handlers/dispatched_request.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <new>

#include "ipc/message_handler.h"
#include "ipc/payload_buffer.h"
#include "ipc/pipe_server.h"

namespace orva_accelerator::test {
namespace {

// A payload and its margin, ending where an inaccessible page begins.
class PayloadWithMargin {
 public:
  PayloadWithMargin(std::span<const std::uint8_t> payload, std::uint8_t margin) {
    constexpr std::size_t kPage = 4096;
    const std::size_t size = payload.size() + ipc::PayloadBuffer::kReadMargin;
    const std::size_t pages = (size + kPage - 1) / kPage * kPage;
    base_ = static_cast<std::uint8_t*>(
        VirtualAlloc(nullptr, pages + kPage, MEM_RESERVE, PAGE_NOACCESS));
    if (base_ == nullptr) throw std::bad_alloc();
    if (VirtualAlloc(base_, pages, MEM_COMMIT, PAGE_READWRITE) == nullptr) throw std::bad_alloc();
    payload_ = base_ + pages - size;
    std::fill_n(std::copy(payload.begin(), payload.end(), payload_),
                ipc::PayloadBuffer::kReadMargin, margin);
  }
  PayloadWithMargin(const PayloadWithMargin&) = delete;
  PayloadWithMargin& operator=(const PayloadWithMargin&) = delete;
  ~PayloadWithMargin() { (void)VirtualFree(base_, 0, MEM_RELEASE); }  // Ours, so it succeeds.

  const void* get() const { return payload_; }

 private:
  std::uint8_t* base_;
  std::uint8_t* payload_;
};

}  // namespace

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
