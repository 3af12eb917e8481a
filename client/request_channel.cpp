#include "client/request_channel.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "client/requests.h"
#include "client/wipe.h"
#include "ipc/wire/headers.h"

namespace orva_accelerator::client {
namespace {

constexpr char kReadStep[] = "read the answer";
constexpr std::size_t kReadAtOnce = std::size_t{64} * 1024;

Error broken(std::string text) {
  return Error{ErrorKind::Protocol, kReadStep, 0, std::move(text)};
}

// Reads exactly `wanted` bytes from the front of the current message. Gives whether the message
// goes on behind them.
Result<bool> readExactly(MessagePipe& pipe, std::size_t wanted, Bytes& bytes,
                         const Deadline& deadline, HANDLE interrupt) {
  bool more = true;
  while (bytes.size() < wanted) {
    if (!more) {
      return broken("a message ended after " + std::to_string(bytes.size()) + " of " +
                    std::to_string(wanted) + " bytes");
    }
    const std::size_t had = bytes.size();
    bytes.resize(had + std::min(wanted - had, kReadAtOnce));
    auto piece = pipe.read(std::span(bytes).subspan(had), deadline, kReadStep, interrupt);
    if (!piece) return piece.error();
    bytes.resize(had + piece.value().length);
    more = piece.value().more;
  }
  return more;
}

Result<Bytes> readResponse(MessagePipe& pipe, const Deadline& deadline, HANDLE interrupt) {
  Bytes headerBytes;
  auto more = readExactly(pipe, sizeof(ipc::ResponseHeader), headerBytes, deadline, interrupt);
  if (!more) return more.error();
  const auto header = frontRecord<ipc::ResponseHeader>(headerBytes);
  if (!header) return broken("an answer has no header");
  if (header->payloadLength > RequestChannel::kLongestResponse) {
    return broken("an answer of " + std::to_string(header->payloadLength) + " bytes was announced");
  }
  Bytes payload;
  if (header->payloadLength != 0) {
    // In the header's own message or in the next one: "back to back" allows for both.
    more = readExactly(pipe, header->payloadLength, payload, deadline, interrupt);
    if (!more) return more.error();
  }
  if (more.value()) {
    return broken("more than the announced " + std::to_string(header->payloadLength) +
                  " bytes came");
  }
  return payload;
}

}  // namespace

Result<RequestChannel> RequestChannel::open(const Endpoint& endpoint, const Deadline& deadline,
                                            HANDLE interrupt) {
  auto pipe = openPipe(endpoint, deadline, "open the request pipe", interrupt);
  if (!pipe) return pipe.error();
  return RequestChannel(std::move(pipe.value()), interrupt);
}

Result<Bytes> RequestChannel::exchange(std::uint32_t type, std::uint32_t clientId, ByteView payload,
                                       const Deadline& deadline) {
  if (!pipe_) {
    return Error{ErrorKind::Usage, "send a request", 0,
                 "the channel has been closed after an earlier error"};
  }
  auto frame = encodeFrame(type, clientId, payload);
  if (!frame) return frame.error();
  const WipeAtEnd wipe(frame.value());
  auto written = pipe_->write(frame.value(), deadline, "send a request", interrupt_);
  if (!written) {
    pipe_.reset();
    return written.error();
  }
  auto response = readResponse(*pipe_, deadline, interrupt_);
  if (!response) pipe_.reset();
  return response;
}

}  // namespace orva_accelerator::client
