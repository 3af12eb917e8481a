#include <string>
#include <vector>

#include "bench/client/pipe_client.h"
#include "bench/client/process_figures.h"
#include "bench/client/rows.h"
#include "ipc/wire/messages.h"

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

// What connections that are over have left behind.
struct Remains {
  int finished;
  double serviceKiB;
  double wineServerKiB;
};

void tellRemains(const std::vector<Remains>& remains, Report& report) {
  report.beginTable(
      "Connections that are over",
      "The service keeps a thread object and a handle for every connection that it ever had. What "
      "the process and the Wine server, which keeps the handles, have grown by.",
      {"finished", "service KiB", "Wine server KiB", "service bytes a connection"});
  for (const auto& [finished, serviceKiB, wineServerKiB] : remains) {
    const double bytes = finished == 0 ? 0 : serviceKiB * 1024 / finished;
    report.addRow(
        {std::to_string(finished), number(serviceKiB, 0), number(wineServerKiB, 0),
         number(bytes, 0)},
        {{"finished", finished}, {"serviceKiB", serviceKiB}, {"wineServerKiB", wineServerKiB}});
  }
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
  report.beginComparison(
      "Requests after many connections",
      "Round trips without payload on one connection, after so many connections to the service "
      "have "
      "come and gone. The floors had none of them, but are served by the same Wine server.");
  const Server& product = plan.servers[Product];
  const double residentBefore = residentKiB(product.processId);
  const double wineBefore = residentKiB(plan.wineServerProcessId);
  std::vector<Remains> remains;
  int finished = 0;
  for (const int target : {0, plan.finishedConnections / 10, plan.finishedConnections}) {
    (void)connectAndAsk(product, target - finished);  // Only its remains count.
    finished = target;
    remains.push_back({finished, residentKiB(product.processId) - residentBefore,
                       residentKiB(plan.wineServerProcessId) - wineBefore});
    std::vector<RequestPipe> pipes;
    for (const Server& server : plan.servers) pipes.emplace_back(server.requestPipe);
    const auto measure = [&](std::size_t server) { return askOften(pipes[server], plan.requests); };
    for (std::size_t server = 0; server < pipes.size(); ++server)
      (void)measure(server);  // Warms up.
    report.addComparison(std::to_string(finished) + " finished",
                         runRounds(plan.rounds, pipes.size(), measure), std::nullopt);
  }
  tellRemains(remains, report);
}

}  // namespace orva_accelerator::bench
