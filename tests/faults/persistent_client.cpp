#include "tests/faults/persistent_client.h"

#include <cstring>
#include <utility>

#include "ipc/wire/headers.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::test {
namespace {

constexpr int kAttempts = 4;

}  // namespace

PersistentRequestClient::PersistentRequestClient(std::wstring pipeName, std::uint32_t clientId,
                                                 std::chrono::milliseconds patience)
    : pipeName_(std::move(pipeName)), clientId_(clientId), patience_(patience) {}

std::optional<std::vector<std::uint8_t>> PersistentRequestClient::ask(
    std::uint32_t type, std::span<const std::uint8_t> payload) {
  const Bytes request = requestBytes(clientId_, type, payload);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!pipe_.isOpen() && pipe_.open(pipeName_) != ERROR_SUCCESS) return std::nullopt;
    if (auto answer = askOnce(request)) return answer;
    pipe_ = RawPipeClient();
    ++broken_;
  }
  return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> PersistentRequestClient::askOnce(
    std::span<const std::uint8_t> request) {
  if (!pipe_.write(request).done()) return std::nullopt;
  const PipeOutcome headerMessage = pipe_.read(patience_);
  ipc::ResponseHeader header = {};
  if (!headerMessage.done() || headerMessage.message.size() != sizeof(header)) return std::nullopt;
  std::memcpy(&header, headerMessage.message.data(), sizeof(header));
  if (header.reserved != 0) return std::nullopt;
  if (header.payloadLength == 0) return std::vector<std::uint8_t>();
  PipeOutcome payload = pipe_.read(patience_);
  if (!payload.done() || payload.message.size() != header.payloadLength) return std::nullopt;
  return std::move(payload.message);
}

PersistentPushClient::PersistentPushClient(std::wstring pipeName, std::uint32_t clientId)
    : pipeName_(std::move(pipeName)), clientId_(clientId) {}

bool PersistentPushClient::isBroken() const {
  return !PeekNamedPipe(pipe_.handle(), nullptr, 0, nullptr, nullptr, nullptr);
}

bool PersistentPushClient::beRegistered() {
  if (pipe_.isOpen() && !isBroken()) return true;
  if (pipe_.isOpen()) ++broken_;
  const ipc::PipeServerInspector server(*ipc::currentPipeServer);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    pipe_ = RawPipeClient();
    const auto before = server.pushPipe(clientId_);
    if (pipe_.open(pipeName_) != ERROR_SUCCESS) return false;
    std::uint8_t id[sizeof clientId_];
    std::memcpy(id, &clientId_, sizeof id);
    const bool registered = pipe_.write(id).done() && waitUntil([&] {
                              const auto now = server.pushPipe(clientId_);
                              return isBroken() || (now != nullptr && now != before);
                            });
    if (registered && !isBroken()) return true;
    ++broken_;
  }
  return false;
}

bool PersistentPushClient::receives() {
  const PipeOutcome headerMessage = pipe_.read();
  if (!headerMessage.done()) return false;
  const auto header = parseNotificationHeader(headerMessage.message);
  if (!header) return false;
  const PipeOutcome payload = pipe_.read();
  return payload.done() && payload.message.size() == header->payloadLength;
}

}  // namespace orva_accelerator::test
