#include "tests/client/fake_service.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "ipc/wire/headers.h"

namespace orva_accelerator::test {
namespace {

constexpr int kRequestClients = 3;
constexpr int kPushClients = 2;

std::vector<Bytes> messagesOf(const GoldenVector& vector) {
  std::vector<Bytes> messages{Bytes(vector.header().begin(), vector.header().end())};
  if (!vector.payload().empty()) {
    messages.emplace_back(vector.payload().begin(), vector.payload().end());
  }
  return messages;
}

ipc::MessageHeader headerOf(const Bytes& request) {
  ipc::MessageHeader header{};
  if (request.size() >= sizeof(header)) std::memcpy(&header, request.data(), sizeof(header));
  return header;
}

}  // namespace

FakeService::FakeService() : stop_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  EXPECT_TRUE(stop_) << GetLastError();
  for (int i = 0; i < kRequestClients; ++i) threads_.emplace_back([this] { serveRequests(); });
  for (int i = 0; i < kPushClients; ++i) threads_.emplace_back([this] { servePushes(); });
}

FakeService::~FakeService() {
  EXPECT_TRUE(SetEvent(stop_.get())) << GetLastError();
  for (std::thread& thread : threads_) thread.join();
}

void FakeService::answer(std::uint32_t type, std::vector<Bytes> messages) {
  const std::lock_guard guard(mutex_);
  answers_[type] = std::move(messages);
}

void FakeService::answerWith(const char* vector) {
  const GoldenVector& golden = goldenVector("responses.json", vector);
  answer(golden.type, messagesOf(golden));
}

void FakeService::announceAfter(std::uint32_t type, std::vector<const char*> notifications) {
  const std::lock_guard guard(mutex_);
  announcements_[type] = std::move(notifications);
}

void FakeService::announce(const Bytes& message) {
  const std::lock_guard guard(mutex_);
  for (const Registered& client : registered_) (void)client.end->write(message);  // It may be gone.
}

void FakeService::announceVector(const char* vector, std::optional<std::uint32_t> clientId) {
  std::vector<Bytes> messages = messagesOf(goldenVector("notifications.json", vector));
  if (clientId) std::memcpy(messages.front().data() + 4, &*clientId, sizeof(*clientId));
  for (const Bytes& message : messages) announce(message);
}

bool FakeService::waitForRegistration(std::uint32_t clientId) {
  return waitUntil([&] {
    const std::lock_guard guard(mutex_);
    return std::any_of(registered_.begin(), registered_.end(),
                       [&](const Registered& client) { return client.clientId == clientId; });
  });
}

std::vector<Bytes> FakeService::requests() const {
  const std::lock_guard guard(mutex_);
  return requests_;
}

std::size_t FakeService::countOf(std::uint32_t type) const {
  const std::lock_guard guard(mutex_);
  return static_cast<std::size_t>(
      std::count_if(requests_.begin(), requests_.end(),
                    [&](const Bytes& request) { return headerOf(request).type == type; }));
}

void FakeService::serveRequests() {
  ServerEnd end(requestPipe_, stop_.get());
  while (WaitForSingleObject(stop_.get(), 0) != WAIT_OBJECT_0) {
    if (end.accept()) serveOneClient(end);
    end.disconnect();
  }
}

void FakeService::serveOneClient(ServerEnd& end) {
  while (const auto request = end.read()) {
    const ipc::MessageHeader header = headerOf(*request);
    std::vector<Bytes> messages{Bytes(sizeof(ipc::ResponseHeader), 0)};
    // A pointer, which stays valid: the lists are made before the service is asked.
    const std::vector<const char*>* notifications = nullptr;
    {
      const std::lock_guard guard(mutex_);
      requests_.push_back(*request);
      if (const auto it = answers_.find(header.type); it != answers_.end()) messages = it->second;
      if (const auto it = announcements_.find(header.type); it != announcements_.end()) {
        notifications = &it->second;
      }
    }
    for (const Bytes& message : messages) {
      if (!end.write(message)) return;
    }
    if (notifications == nullptr) continue;
    // Registration and requests come on different pipes, and are read by different threads. It may
    // never come.
    (void)waitForRegistration(header.clientId);
    for (const char* notification : *notifications) announceVector(notification, header.clientId);
  }
}

void FakeService::servePushes() {
  ServerEnd end(pushPipe_, stop_.get());
  // Broadcasts write from other threads while this one waits for the client to leave, so the
  // waiting is done on a separate registration read and then on the stop event alone.
  if (!end.accept()) return;
  const auto registration = end.read();
  if (!registration || registration->size() != sizeof(std::uint32_t)) return;
  Registered client{0, &end};
  std::memcpy(&client.clientId, registration->data(), sizeof(client.clientId));
  {
    const std::lock_guard guard(mutex_);
    registered_.push_back(client);
  }
  (void)WaitForSingleObject(stop_.get(), static_cast<DWORD>(2 * kPatience.count()));
  const std::lock_guard guard(mutex_);
  std::erase_if(registered_, [&](const Registered& entry) { return entry.end == &end; });
}

}  // namespace orva_accelerator::test
