// The groups of rows, each measured with connections of its own.
#pragma once

#include "bench/client/plan.h"
#include "bench/client/report.h"

namespace orva_accelerator::bench {

// Requests without payload and with short and long ones, over growing numbers of connections; and
// what a connection costs in memory.
void measureRequests(const Plan& plan, Report& report);

// A connection for a single request.
void measureConnecting(const Plan& plan, Report& report);

// Every query, the service alone, with short and with the longest texts. Leaves the library
// initialised, and with a login whose outcome is reported inside the library's call.
void measureQueries(const Plan& plan, Report& report);

// Notifications to growing numbers of clients; needs what measureQueries leaves behind. The push
// clients stay.
void measurePushes(const Plan& plan, Report& report);

// Requests after growing numbers of connections, and what those have left behind. Last, because
// that stays.
void measureFinishedConnections(const Plan& plan, Report& report);

}  // namespace orva_accelerator::bench
