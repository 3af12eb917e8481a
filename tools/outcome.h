// Outcomes that the service announces after it has answered: how commands wait for them.
#pragma once

#include <functional>

#include "client/notifications.h"
#include "client/outcome.h"
#include "client/result.h"
#include "client/service_client.h"
#include "tools/context.h"

namespace orva_accelerator::tools {

// Prints a notification as a line, in the form that the options ask for.
void printNotification(Context& context, const orva_notification& notification);

// What the answer to a start says: Refused when it was turned down.
client::Result<client::Done> takenStart(const client::Result<bool>& accepted);

// Awaits the outcome, printing this client's own notifications. One that is a failure gives
// Refused. Bounded by the option for waiting; Ctrl+C ends it too.
client::Result<client::Done> awaitAndPrint(Context& context, client::PushChannel& push,
                                           client::Awaited awaited);

using Send = std::function<client::Result<client::Done>(client::ServiceClient&)>;

// The whole of a command that starts something: sends it, prints `taken` and, if `wait` is set,
// waits for what is `awaited`.
int sendAndAwait(Context& context, bool wait, client::Awaited awaited, const char* command,
                 const char* taken, const Send& send);

}  // namespace orva_accelerator::tools
