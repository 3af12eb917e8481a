#include "tests/support/running_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "ipc/wire/headers.h"
#include "tests/support/pipe_names.h"

namespace orva_accelerator::test {
namespace {

constexpr std::uint32_t kMarkerType = 0xFFFFFFFE;

template <typename Record>
Record recordAt(std::span<const std::uint8_t> bytes) {
  Record record;
  std::memcpy(&record, bytes.data(), sizeof(record));
  return record;
}

}  // namespace

Bytes requestBytes(std::uint32_t clientId, std::uint32_t type,
                   std::span<const std::uint8_t> payload) {
  const ipc::MessageHeader header = {
      ipc::kRequestMagic, 0, type, static_cast<std::uint32_t>(payload.size()), 0, clientId};
  Bytes bytes(sizeof(header) + payload.size());
  std::memcpy(bytes.data(), &header, sizeof(header));
  std::copy(payload.begin(), payload.end(), bytes.begin() + sizeof(header));
  return bytes;
}

RunningServer::RunningServer()
    : requestPipe_(uniquePipeName(L"request")),
      pushPipe_(uniquePipeName(L"push")),
      server_(new ipc::PipeServer) {
  EXPECT_TRUE(server_->start(requestPipe_, pushPipe_));
}

RequestConnection::RequestConnection(const RunningServer& server)
    : RequestConnection(server.requestPipe()) {}

RequestConnection::RequestConnection(const std::wstring& pipeName) {
  EXPECT_EQ(pipe_.open(pipeName), static_cast<DWORD>(ERROR_SUCCESS));
}

std::optional<Bytes> RequestConnection::ask(std::uint32_t clientId, std::uint32_t type,
                                            std::span<const std::uint8_t> payload) {
  return askBytes(requestBytes(clientId, type, payload));
}

std::optional<Bytes> RequestConnection::askBytes(std::span<const std::uint8_t> request) {
  if (!pipe_.write(request).done()) {
    ADD_FAILURE() << "the request cannot be written";
    return std::nullopt;
  }
  const Bytes headerBytes = pipe_.readBytes(sizeof(ipc::ResponseHeader));
  if (headerBytes.size() != sizeof(ipc::ResponseHeader)) {
    ADD_FAILURE() << "no answer";
    return std::nullopt;
  }
  const auto header = recordAt<ipc::ResponseHeader>(headerBytes);
  Bytes payload = pipe_.readBytes(header.payloadLength);
  if (header.reserved != 0 || payload.size() != header.payloadLength) {
    ADD_FAILURE() << "a broken answer";
    return std::nullopt;
  }
  return payload;
}

std::optional<Notification> parseNotificationHeader(std::span<const std::uint8_t> message) {
  if (message.size() != sizeof(ipc::PushFrameHeader)) return std::nullopt;
  const auto header = recordAt<ipc::PushFrameHeader>(message);
  if (header.magic != ipc::kPushMagic) return std::nullopt;
  Notification notification;
  notification.clientId = header.clientId;
  notification.type = header.type;
  notification.payloadLength = header.payloadLength;
  notification.bytes.assign(message.begin(), message.end());
  return notification;
}

PushConnection::PushConnection(const std::wstring& pipeName, std::uint32_t clientId) {
  EXPECT_EQ(pipe_.open(pipeName), static_cast<DWORD>(ERROR_SUCCESS));
  std::uint8_t registration[sizeof(clientId)];
  std::memcpy(registration, &clientId, sizeof(clientId));
  EXPECT_TRUE(pipe_.write(registration).done());
}

PushConnection::PushConnection(const RunningServer& server, std::uint32_t clientId) {
  const auto before = server.inspect().pushPipe(clientId);
  *this = PushConnection(server.pushPipe(), clientId);
  EXPECT_TRUE(waitUntil([&] {
    const auto now = server.inspect().pushPipe(clientId);
    return now != nullptr && now != before;
  })) << "client "
      << clientId << " is not registered";
}

std::optional<Notification> PushConnection::next(std::chrono::milliseconds limit) {
  const PipeOutcome header = pipe_.read(limit);
  if (!header.done()) return std::nullopt;
  auto notification = parseNotificationHeader(header.message);
  if (!notification) {
    ADD_FAILURE() << "not a notification header: " << hexFromBytes(header.message);
    return std::nullopt;
  }
  if (notification->payloadLength != 0) {
    PipeOutcome payload = pipe_.read();
    if (!payload.done() || payload.message.size() != notification->payloadLength) {
      ADD_FAILURE() << "a payload of " << payload.message.size() << " bytes, announced as "
                    << notification->payloadLength;
      return std::nullopt;
    }
    notification->payload = std::move(payload.message);
    notification->bytes.insert(notification->bytes.end(), notification->payload.begin(),
                               notification->payload.end());
  }
  return notification;
}

void broadcastMarker(const RunningServer& server) {
  EXPECT_TRUE(server->BroadcastPush(0, kMarkerType, nullptr, 0));
}

testing::AssertionResult markerIsNext(PushConnection& connection) {
  const auto notification = connection.next();
  if (!notification) return testing::AssertionFailure() << "nothing came";
  if (notification->type == kMarkerType) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "another notification came first: " << hexFromBytes(notification->bytes);
}

}  // namespace orva_accelerator::test
