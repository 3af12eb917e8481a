// Notifications for people and for programs.
#pragma once

#include <cstdint>
#include <string>

#include "client/notifications.h"
#include "tools/records.h"

namespace orva_accelerator::tools {

// "accelerating" for 4, "ended" for 5 to 7, "progress" for the others.
const char* StateName(std::uint32_t state);

// `ownId` is the client id of the reader, to tell its own outcomes from those of others.
Json ToJson(const client::Notification& notification, std::uint32_t ownId);

// One line without line end: "start   client 7 (own)  accelerating  state 4, value1 1, ...".
std::string NotificationText(const client::Notification& notification, std::uint32_t ownId);

}  // namespace orva_accelerator::tools
