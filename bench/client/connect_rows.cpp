#include <string>

#include "bench/client/pipe_client.h"
#include "bench/client/process_figures.h"
#include "bench/client/rows.h"
#include "ipc/message_types.h"

namespace orva_accelerator::bench {

namespace {

constexpr int kConnectionsASlot = 30;

Slot connectAndAsk(const Server& server, int count) {
  Slot slot;
  const Stopwatch whole;
  for (int i = 0; i < count; ++i) {
    const Stopwatch one;
    {
      RequestPipe pipe(server.requestPipe);
      pipe.send(ipc::MsgHeartbeat, {});
      (void)pipe.receive();  // Its content is known.
    }
    slot.latenciesUs.push_back(one.elapsedUs());
  }
  slot.operations = count;
  slot.seconds = whole.elapsedUs() / 1e6;
  return slot;
}

Slot askOften(RequestPipe& pipe, int requests) {
  Slot slot;
  const Stopwatch whole;
  for (int i = 0; i < requests; ++i) {
    const Stopwatch one;
    pipe.send(ipc::MsgHeartbeat, {});
    (void)pipe.receive();  // Its content is known.
    slot.latenciesUs.push_back(one.elapsedUs());
  }
  slot.operations = requests;
  slot.seconds = whole.elapsedUs() / 1e6;
  return slot;
}

}  // namespace

void measureConnecting(const Plan& plan, Report& report) {
  report.beginComparison("Connecting",
                         "One operation is a connection, one request and the end "
                         "of the connection.");
  const auto measure = [&plan](std::size_t server) {
    return connectAndAsk(plan.servers[server], kConnectionsASlot);
  };
  for (std::size_t server = 0; server < plan.servers.size(); ++server) (void)measure(server);
  report.addComparison("connect, heartbeat, disconnect",
                       runRounds(plan.rounds, plan.servers.size(), measure), std::nullopt);
}

void measureFinishedConnections(const Plan& plan, Report& report) {
  report.beginTable(
      "Connections that are over",
      "The service keeps a thread object and a handle for every connection that it ever had. "
      "Round trips without payload on one connection made afterwards, and what the process and "
      "the Wine server, which keeps the handles, have grown by.",
      {"finished since", "service /s", "p50 µs", "service KiB", "Wine server KiB",
       "service bytes a connection"});
  const Server& product = plan.servers[Product];
  const double residentBefore = residentKiB(product.processId);
  const double wineBefore = residentKiB(plan.wineServerProcessId);
  int finished = 0;
  for (const int target : {0, plan.finishedConnections / 10, plan.finishedConnections}) {
    (void)connectAndAsk(product, target - finished);  // Only its remains count.
    finished = target;
    RequestPipe pipe(product.requestPipe);
    (void)askOften(pipe, plan.requests);  // Warms up.
    const Rounds rounds =
        runRounds(plan.rounds, 1, [&](std::size_t) { return askOften(pipe, plan.requests); });
    const double perSecond = median(figures(rounds[0], operationsPerSecond));
    const double p50 = median(figures(rounds[0], p50Us));
    const double grown = residentKiB(product.processId) - residentBefore;
    const double wineGrown = residentKiB(plan.wineServerProcessId) - wineBefore;
    const double bytes = finished == 0 ? 0 : grown * 1024 / finished;
    report.addRow({std::to_string(finished), number(perSecond, 0), number(p50, 0), number(grown, 0),
                   number(wineGrown, 0), number(bytes, 0)},
                  {{"finished", finished},
                   {"perSecond", perSecond},
                   {"p50Us", p50},
                   {"serviceKiB", grown},
                   {"wineServerKiB", wineGrown}});
  }
}

}  // namespace orva_accelerator::bench
