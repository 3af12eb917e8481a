#include "bench/client/push_group.h"

#include <algorithm>
#include <stdexcept>

#include "ipc/wire/messages.h"

namespace orva_accelerator::bench {

namespace {

constexpr ULONGLONG kRegistrationTimeoutMs = 20'000;

win32::UniqueKernelHandle makeEvent() {
  win32::UniqueKernelHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!event) failCall("CreateEventW", GetLastError());
  return event;
}

}  // namespace

void PushGroup::growTo(int count) {
  while (static_cast<int>(clients_.size()) < count) {
    auto client = std::make_unique<Client>();
    client->pipe = openPipe(server_.pushPipe, FILE_FLAG_OVERLAPPED);
    client->event = makeEvent();
    client->overlapped.hEvent = client->event.get();
    const auto id = static_cast<std::uint32_t>(clients_.size() + 1);
    DWORD written = 0;
    if (!WriteFile(client->pipe.get(), &id, sizeof(id), nullptr, &client->overlapped) &&
        GetLastError() != ERROR_IO_PENDING) {
      failCall("WriteFile", GetLastError());
    }
    if (!GetOverlappedResult(client->pipe.get(), &client->overlapped, &written, TRUE)) {
      failCall("GetOverlappedResult", GetLastError());
    }
    clients_.push_back(std::move(client));
  }
  // Nothing tells a client that it is registered, but the first notification that reaches it.
  const ULONGLONG deadline = GetTickCount64() + kRegistrationTimeoutMs;
  for (order(); !haveAllMessages(); order()) {
    if (GetTickCount64() > deadline) throw std::runtime_error("push clients get nothing");
    Sleep(50);
  }
  readEverything();
}

void PushGroup::order() {
  orders_.send(ipc::MsgUserLogin, std::vector<std::uint8_t>(4));
  (void)orders_.receive();  // Its content is known.
}

void PushGroup::beginRead(Client& client) {
  if (!ReadFile(client.pipe.get(), client.bytes, sizeof(client.bytes), nullptr,
                &client.overlapped)) {
    const DWORD error = GetLastError();
    if (error != ERROR_IO_PENDING) failCall("ReadFile", error);
  }
}

void PushGroup::endRead(Client& client) {
  DWORD received = 0;
  if (!GetOverlappedResult(client.pipe.get(), &client.overlapped, &received, TRUE)) {
    failCall("GetOverlappedResult", GetLastError());
  }
}

bool PushGroup::hasMessage(const Client& client) {
  DWORD waiting = 0;
  if (!PeekNamedPipe(client.pipe.get(), nullptr, 0, nullptr, &waiting, nullptr)) {
    failCall("PeekNamedPipe", GetLastError());
  }
  return waiting != 0;
}

bool PushGroup::haveAllMessages() const {
  return std::ranges::all_of(clients_, [](const auto& client) { return hasMessage(*client); });
}

void PushGroup::readEverything() {
  for (const auto& client : clients_) {
    while (hasMessage(*client)) {
      beginRead(*client);
      endRead(*client);
    }
  }
}

Slot PushGroup::measure(int pushes, bool reading) {
  Slot slot;
  for (int push = 0; push < pushes; ++push) {
    if (reading) {
      for (const auto& client : clients_) beginRead(*client);
    }
    const Stopwatch one;
    order();
    const double elapsedUs = one.elapsedUs();
    slot.seconds += elapsedUs / 1e6;
    slot.latenciesUs.push_back(elapsedUs / static_cast<double>(clients_.size()));
    slot.operations += static_cast<double>(clients_.size());
    for (const auto& client : clients_) {
      if (!reading) beginRead(*client);
      endRead(*client);  // The header,
      beginRead(*client);
      endRead(*client);  // and the payload.
    }
  }
  return slot;
}

}  // namespace orva_accelerator::bench
