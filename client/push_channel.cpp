#include "client/push_channel.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

#include "client/requests.h"
#include "client/service_control.h"

namespace orva_accelerator::client {
namespace {

constexpr char kReadStep[] = "read a notification";
// The service's process needs a moment to end after its pipes have.
constexpr std::chrono::milliseconds kMoment{2000};

}  // namespace

Result<PushChannel> PushChannel::registerPush(const Endpoint& endpoint, std::uint32_t clientId,
                                              const Deadline& deadline, HANDLE interrupt) {
  auto pipe = openPipe(endpoint, deadline, "open the push pipe", interrupt);
  if (!pipe) return pipe.error();
  auto written = pipe.value().write(encodePushRegistration(clientId), deadline,
                                    "register for notifications", interrupt);
  if (!written) return written.error();
  auto reader = PipeReader::start(std::move(pipe.value()));
  if (!reader) return reader.error();
  return PushChannel(std::move(reader.value()), clientId,
                     endpoint.verifyServer ? endpoint.serviceName : std::wstring());
}

Result<Notification> PushChannel::next(const Deadline& deadline, HANDLE interrupt) {
  for (;;) {
    auto read = readMessage(deadline, interrupt);
    if (!read) return withReason(std::move(read.error()), deadline, interrupt);
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
    auto more = reader_.take(message_, deadline, kReadStep, interrupt);
    if (!more) return more.error();
    if (message_.size() > kLongestMessage) discarding_ = true;
    if (discarding_) message_.clear();
    if (more.value()) continue;
    if (!std::exchange(discarding_, false)) return Done{};
    return Error{ErrorKind::Protocol, kReadStep, 0,
                 "a message of more than " + std::to_string(kLongestMessage) + " bytes came"};
  }
}

Error PushChannel::withReason(Error error, const Deadline& deadline, HANDLE interrupt) const {
  if (error.kind != ErrorKind::HungUp || serviceName_.empty()) return error;
  const std::chrono::milliseconds left(deadline.remainingMs());
  if (waitUntilEnded(serviceName_, Deadline::after(std::min(left, kMoment)), interrupt)) {
    error.text = "the service has ended";
  }
  return error;
}

}  // namespace orva_accelerator::client
