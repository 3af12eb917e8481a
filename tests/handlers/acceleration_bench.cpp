#include "tests/handlers/acceleration_bench.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "ipc/wire/messages.h"
#include "ipc/wire/notifications.h"
#include "ipc/wire/requests.h"
#include "sdk/kernel_function_table.h"
#include "tests/support/ownership_inspector.h"

namespace orva_accelerator::test {
namespace {

std::string shownSlot(bool taken, std::uint32_t id) {
  if (!taken && id == 0) return "-";
  return taken ? std::to_string(id) : "(" + std::to_string(id) + ")";
}

std::string shown(const Notification& notification) {
  char head[40];
  (void)std::snprintf(head, sizeof(head), "%X for %u: ", notification.type, notification.clientId);
  std::string text = head;
  if (notification.type == ipc::NotifyStopAccel) {
    ipc::StopResultPayload fixed = {};
    std::memcpy(&fixed, notification.payload.data(), sizeof(fixed));
    return text + "code " + std::to_string(fixed.code);
  }
  ipc::AccelResultPayload fixed = {};
  std::memcpy(&fixed, notification.payload.data(), sizeof(fixed));
  return text + "state " + std::to_string(fixed.state);
}

void append(std::string& list, const std::string& item) {
  if (!list.empty()) list += ", ";
  list += item;
}

bool isMarker(const Notification& notification) {
  return notification.clientId == 0 && notification.payloadLength == 0;
}

}  // namespace

const char* nameOf(State state) {
  switch (state) {
    case State::Idle:
      return "idle";
    case State::Starting:
      return "starting";
    case State::Accelerating:
      return "accelerating";
    case State::StartingOver:
      return "starting over";
  }
  return "?";
}

std::string shown(const ipc::AccelerationOwnership& ownership) {
  const ipc::Owner owner = get(ownership);
  return shownSlot(owner.accelerating, owner.acceleratingClientId) + " / " +
         shownSlot(owner.startPending, owner.startPendingClientId);
}

AccelerationBench::AccelerationBench() {
  EXPECT_TRUE(sdk::ResolveKernelFunctions(kernel.module()));
  for (const std::uint32_t id : {kOwner, kOther, kPender}) {
    listeners_.push_back({id, std::make_unique<PushConnection>(server, id)});
  }
}

// The server lives on. Its supervisor must find nothing to stop when it wakes during a later test.
AccelerationBench::~AccelerationBench() {
  server->ownership.clear();
  server->stop();
}

std::optional<Bytes> AccelerationBench::ask(std::uint32_t clientId, std::uint32_t type) {
  Bytes payload;
  if (type == ipc::MsgStartAccel) payload.resize(sizeof(ipc::StartAccelRequest));
  if (type == ipc::MsgStartAccelEx) payload.resize(sizeof(ipc::StartAccelExRequest));
  return requests.ask(clientId, type, payload);
}

void AccelerationBench::enter(State state) {
  kernel.Kernel_StartAccel = [](auto...) { return sdk::KernelBool{1}; };
  kernel.Kernel_StartAccelEx = [](auto...) { return sdk::KernelBool{1}; };
  kernel.Kernel_StopAccel = [](auto...) { return sdk::KernelBool{1}; };
  server->ownership.clear();
  if (state != State::Starting) {
    EXPECT_EQ(ask(kOwner, ipc::MsgStartAccel), Bytes{1});
    reportState(state == State::Idle ? 7 : 4);
  }
  if (state == State::Starting || state == State::StartingOver) {
    EXPECT_EQ(ask(kPender, ipc::MsgStartAccel), Bytes{1});
  }
  (void)notifications();  // Of the way here.
  kernel.clearCalls();
}

void AccelerationBench::reportState(std::uint32_t state) {
  sdk::KernelAccelResult record = {};
  record.state = state;
  std::thread([&] { kernel.accelCompletion()(nullptr, nullptr, &record); }).join();
}

void AccelerationBench::reportStop(int code) {
  std::thread([&] { kernel.stopCompletion()(nullptr, code, nullptr); }).join();
}

std::string AccelerationBench::calls() const {
  constexpr std::size_t kPrefix = sizeof("Kernel_") - 1;
  std::string names;
  for (const std::string& call : kernel.calls()) {
    append(names, call.substr(kPrefix, call.find('(') - kPrefix));
  }
  return names;
}

std::string AccelerationBench::notifications() {
  (void)server->BroadcastPush(0, 0xFFFFFFFE, nullptr, 0);  // False when nobody is left to reach.
  std::optional<std::string> common;
  for (Listener& listener : listeners_) {
    std::string received;
    for (auto next = listener.connection->next(); next && !isMarker(*next);
         next = listener.connection->next()) {
      append(received, shown(*next));
    }
    EXPECT_EQ(received, common.value_or(received)) << "client " << listener.id;
    common = received;
  }
  return common.value_or("");
}

void AccelerationBench::unregisterAllBut(std::uint32_t clientId) {
  for (const Listener& listener : listeners_) {
    if (listener.id != clientId) server->UnregisterPushClient(listener.id);
  }
  std::erase_if(listeners_, [&](const Listener& listener) { return listener.id != clientId; });
}

}  // namespace orva_accelerator::test
