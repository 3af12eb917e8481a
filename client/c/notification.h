// A notification, as the C interface hands it out.
#pragma once

#include "client/c/orva_client.h"
#include "client/notifications.h"

struct orva_notification {
  orva_accelerator::client::Notification value;
};
