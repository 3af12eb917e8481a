#include "client/push_channel.h"

#include <optional>
#include <span>
#include <string>
#include <utility>

#include "client/requests.h"

namespace orva_accelerator::client {
namespace {

constexpr char kReadStep[] = "read a notification";
// The service's pipe buffer; most notifications are a few dozen bytes.
constexpr std::size_t kReadAtOnce = 8192;

}  // namespace

Result<PushChannel> PushChannel::registerPush(const Endpoint& endpoint, std::uint32_t clientId,
                                              const Deadline& deadline, HANDLE interrupt) {
  auto pipe = openPipe(endpoint, deadline, "open the push pipe", interrupt);
  if (!pipe) return pipe.error();
  auto written = pipe.value().write(encodePushRegistration(clientId), deadline,
                                    "register for notifications", interrupt);
  if (!written) return written.error();
  return PushChannel(std::move(pipe.value()));
}

Result<Notification> PushChannel::next(const Deadline& deadline, HANDLE interrupt) {
  for (;;) {
    auto read = readMessage(deadline, interrupt);
    if (!read) return read.error();
    const Bytes message = std::exchange(message_, {});
    auto taken = assembler_.take(message);
    if (!taken) return taken.error();
    if (taken.value() != nullptr) return taken;
  }
}

// Completes `message_`. When the wait ends in the middle of a message, the part that has been read
// stays there and the next call goes on behind it.
Result<Done> PushChannel::readMessage(const Deadline& deadline, HANDLE interrupt) {
  for (;;) {
    const std::size_t had = message_.size();
    message_.resize(had + kReadAtOnce);
    auto piece = pipe_.read(std::span(message_).subspan(had), deadline, kReadStep, interrupt);
    message_.resize(had + (piece ? piece.value().length : 0));
    if (!piece) return piece.error();
    if (message_.size() > kLongestMessage) discarding_ = true;
    if (discarding_) message_.clear();
    if (piece.value().more) continue;
    if (!std::exchange(discarding_, false)) return Done{};
    return Error{ErrorKind::Protocol, kReadStep, 0,
                 "a message of more than " + std::to_string(kLongestMessage) + " bytes came"};
  }
}

}  // namespace orva_accelerator::client
