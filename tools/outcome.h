// Outcomes that the service announces after it has answered: how commands wait for them.
#pragma once

#include <cstdint>
#include <functional>

#include "client/notifications.h"
#include "client/push_channel.h"
#include "client/result.h"
#include "client/service_client.h"
#include "tools/context.h"

namespace orva_accelerator::tools {

// Prints a notification as a line, in the form that the options ask for.
void printNotification(Context& context, const orva_notification& notification);

// Reads notifications, printing this client's own, until one of `type` settles the matter: for a
// start one that says accelerating or ended, for the others the first. An outcome that is a failure
// gives Refused. Bounded by the option for waiting; Ctrl+C ends it too.
client::Result<client::Done> awaitOutcome(Context& context, client::PushChannel& push,
                                          std::uint32_t type);

// A client that hears its own outcomes: registered first, then connected, then one heartbeat, which
// gives the service the moment that it needs to take the registration.
struct ListeningClient {
  client::PushChannel push;
  client::ServiceClient service;
};
client::Result<ListeningClient> connectListening(Context& context);

using Send = std::function<client::Result<client::Done>(client::ServiceClient&)>;

// The whole of a command that starts something: sends it, prints `taken` and, if `wait` is set,
// waits for the notification of `type`.
int sendAndAwait(Context& context, bool wait, std::uint32_t type, const char* command,
                 const char* taken, const Send& send);

}  // namespace orva_accelerator::tools
