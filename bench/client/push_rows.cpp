#include <algorithm>
#include <deque>
#include <string>

#include "bench/client/process_figures.h"
#include "bench/client/push_group.h"
#include "bench/client/rows.h"

namespace orva_accelerator::bench {

namespace {

// So many that a slot takes long enough, but no longer.
int pushesASlot(int clients) {
  return std::clamp(600 / clients, 3, 60);
}

}  // namespace

void measurePushes(const Plan& plan, Report& report) {
  std::deque<PushGroup> groups;
  for (const Server& server : plan.servers) groups.emplace_back(server);
  report.beginComparison(
      "Notifications",
      "One operation is one client's notification, two messages of 20 and 8 bytes. The times "
      "include the request that orders it, a login, divided among the clients; with the service, "
      "the simulated library's part too, which is why few clients tell little. `waiting`: every "
      "client has a read under way; `busy`: nobody is reading.");
  std::vector<std::string> cells;
  nlohmann::ordered_json memory;
  int previous = 0;
  for (const int count : plan.pushClients) {
    std::vector<double> added;
    for (std::size_t i = 0; i < groups.size(); ++i) {
      const double before = residentKiB(plan.servers[i].processId);
      groups[i].growTo(count);
      added.push_back((residentKiB(plan.servers[i].processId) - before) / (count - previous));
    }
    for (const bool reading : {false, true}) {
      const auto measure = [&](std::size_t server) {
        return groups[server].measure(pushesASlot(count), reading);
      };
      for (std::size_t server = 0; server < groups.size(); ++server) (void)measure(server);
      report.addComparison((reading ? "waiting, " : "busy, ") + std::to_string(count),
                           runRounds(plan.rounds, groups.size(), measure), std::nullopt);
    }
    if (count - previous >= 50) {
      const double ratio = added[Product] / ((added[FloorA] + added[FloorB]) / 2);
      cells = {std::to_string(previous) + " to " + std::to_string(count), number(added[FloorA], 1),
               number(added[FloorB], 1), number(added[Product], 1), number(ratio, 3)};
      memory = {{"label", cells[0]}, {"kib", added}, {"ratio", ratio}};
    }
    previous = count;
  }
  if (cells.empty()) return;
  report.beginTable("Memory of a push client", "KiB resident that each further client adds.",
                    {"clients", "floor A", "floor B", "service", "service to floor"});
  report.addRow(cells, memory);
}

}  // namespace orva_accelerator::bench
