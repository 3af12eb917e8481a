// The groups of measurements; each adds a table to the report.
#pragma once

#include "bench/common/tables.h"

namespace orva_accelerator::bench {

// Every message type, from the dispatcher to the response and its release.
void measureDispatch(Tables& tables);
// The same with a long list of connections that are over.
void measureDispatchAfterManyConnections(Tables& tables);
// The system's text conversions, without which no text gets from the library to a client.
void measureConversions(Tables& tables);
// A notification to 500 clients whose pipes take everything at once.
void measureBroadcast(Tables& tables);

}  // namespace orva_accelerator::bench
