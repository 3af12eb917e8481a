// A running server with one push client, whose notifications the notifiers' tests look at.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "ipc/notifiers.h"
#include "ipc/wire/notifications.h"
#include "tests/support/import_patch.h"
#include "tests/support/ownership_inspector.h"
#include "tests/support/running_server.h"

namespace orva_accelerator::ipc {

inline constexpr std::uint32_t kClient = 7;

inline std::string textOf(const test::Notification& notification, std::size_t from) {
  return std::string(notification.payload.begin() + static_cast<std::ptrdiff_t>(from),
                     notification.payload.end());
}

// Its fields may lie at any address: compare copies, EXPECT_EQ would bind references to them.
template <typename Fixed>
Fixed fixedPartOf(const test::Notification& notification) {
  Fixed fixed = {};
  EXPECT_GE(notification.payload.size(), sizeof(fixed));
  if (notification.payload.size() >= sizeof(fixed)) {
    std::memcpy(&fixed, notification.payload.data(), sizeof(fixed));
  }
  return fixed;
}

inline sdk::SAccelResult resultWithState(std::uint32_t state) {
  sdk::SAccelResult result;
  result.state = state;
  return result;
}

using ConversionHook = test::ImportHook<decltype(WideCharToMultiByte)>;

inline constexpr Owner kTwoOwners = {true, 8, true, 9};

class Notifiers : public testing::Test {
 protected:
  // For a notification that the pipe does not hold: somebody has to read while it is written.
  std::optional<test::Notification> nextWhile(const std::function<void()>& notifying) {
    std::thread library(notifying);
    auto notification = client.next();
    library.join();
    return notification;
  }

  test::RunningServer server;
  test::PushConnection client{server, kClient};
};

}  // namespace orva_accelerator::ipc
