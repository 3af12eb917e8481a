// Notifications for people and for programs.
#pragma once

#include <cstdint>
#include <string>

#include "client/notifications.h"
#include "tools/records.h"

namespace orva_accelerator::tools {

// "accelerating", "ended" or "progress".
const char* stateName(const orva_accel_result& result);

// `ownId` is the client id of the reader, to tell its own outcomes from those of others.
Json notificationJson(const orva_notification& notification, std::uint32_t ownId);

// One line without line end: "start   client 7 (own)  accelerating  state 4, value1 1, ...".
std::string notificationText(const orva_notification& notification, std::uint32_t ownId);

}  // namespace orva_accelerator::tools
