#include <algorithm>
#include <memory>
#include <string>

#include "bench/client/pipe_client.h"
#include "bench/client/process_figures.h"
#include "bench/client/rows.h"
#include "ipc/wire/messages.h"

namespace orva_accelerator::bench {

namespace {

constexpr std::uint32_t kUnknownType = 0x7FFF;

struct Load {
  const char* label;
  std::uint32_t type;
  std::size_t payloadLength;
};

// No type has a payload and an answer of the same length from every server, so the payload goes
// with an unknown type, which everybody answers with an empty response.
constexpr Load kLoads[] = {
    {"header only", ipc::MsgHeartbeat, 0},
    {"256 bytes", kUnknownType, 256},
    {"64 KiB", kUnknownType, 65'536},
};

// The open request connections of one server.
class Connections {
 public:
  explicit Connections(const Server& server) : server_(server) {}

  void growTo(int count) {
    while (static_cast<int>(pipes_.size()) < count) {
      pipes_.push_back(std::make_unique<RequestPipe>(server_.requestPipe));
    }
  }

  // At least `requests` round trips, every connection equally often. Of each group of `window`
  // connections all requests are sent before the first answer is read.
  Slot measure(const Load& load, int requests, int window) {
    const std::vector<std::uint8_t> payload(load.payloadLength);
    const auto count = static_cast<int>(pipes_.size());
    const int group = window == 0 ? count : std::min(window, count);
    std::vector<Stopwatch> sent(static_cast<std::size_t>(group));
    Slot slot;
    const Stopwatch whole;
    while (slot.operations < requests) {
      for (int first = 0; first < count; first += group) {
        const int end = std::min(first + group, count);
        for (int i = first; i < end; ++i) {
          sent[static_cast<std::size_t>(i - first)] = Stopwatch();
          pipes_[static_cast<std::size_t>(i)]->send(load.type, payload);
        }
        for (int i = first; i < end; ++i) {
          (void)pipes_[static_cast<std::size_t>(i)]->receive();  // Its content is known.
          slot.latenciesUs.push_back(sent[static_cast<std::size_t>(i - first)].elapsedUs());
        }
      }
      slot.operations += count;
    }
    slot.seconds = whole.elapsedUs() / 1e6;
    return slot;
  }

 private:
  const Server& server_;
  std::vector<std::unique_ptr<RequestPipe>> pipes_;
};

std::vector<double> residentOf(const std::vector<Server>& servers) {
  std::vector<double> resident;
  for (const Server& server : servers) resident.push_back(residentKiB(server.processId));
  return resident;
}

struct MemoryStep {
  int from;
  int to;
  std::vector<double> before;
  std::vector<double> after;
};

void reportMemory(const Plan& plan, const std::vector<MemoryStep>& steps, Report& report) {
  report.beginTable("Memory of a request connection",
                    "KiB resident that each further connection adds, once it has made a request "
                    "without payload. Limit: 1.02 of the floor.",
                    {"connections", "floor A", "floor B", "service", "service to floor"});
  for (const MemoryStep& step : steps) {
    std::vector<double> each;
    for (std::size_t i = 0; i < plan.servers.size(); ++i) {
      each.push_back((step.after[i] - step.before[i]) / (step.to - step.from));
    }
    const double ratio = each[Product] / ((each[FloorA] + each[FloorB]) / 2);
    const std::string label = std::to_string(step.from) + " to " + std::to_string(step.to);
    report.addRow({label, number(each[FloorA], 1), number(each[FloorB], 1),
                   number(each[Product], 1), number(ratio, 3)},
                  {{"label", label}, {"kib", each}, {"ratio", ratio}});
  }
}

}  // namespace

void measureRequests(const Plan& plan, Report& report) {
  std::vector<Connections> connections(plan.servers.begin(), plan.servers.end());
  std::vector<MemoryStep> memory;
  report.beginComparison(
      "Round trips",
      "One operation is one request and its answer. `rate`, `p50` and `p99` are the service's "
      "figures divided by those of the mean of both floors in the same round: median (min to max) "
      "of " +
          std::to_string(plan.rounds) +
          " rounds. `A/A` is floor B's rate divided by floor "
          "A's. The last column says whether the limits are met: rate 0.97 (0.95 at 1,000 "
          "connections), p50 1.05, p99 1.2; inconclusive where the floors differ by more than 7 "
          "%.");
  int previous = 0;
  for (const int count : plan.connections) {
    MemoryStep step = {previous, count, residentOf(plan.servers), {}};
    for (Connections& each : connections) each.growTo(count);
    for (const Load& load : kLoads) {
      const auto measure = [&](std::size_t server) {
        return connections[server].measure(load, plan.requests, plan.window);
      };
      for (std::size_t server = 0; server < connections.size(); ++server) {
        (void)measure(server);  // Warms up.
      }
      if (step.after.empty()) step.after = residentOf(plan.servers);
      const Rounds rounds = runRounds(plan.rounds, connections.size(), measure);
      Limits limits;
      if (count >= 1000) limits.slowestRate = 0.95;
      report.addComparison(std::string(load.label) + ", " + std::to_string(count), rounds, limits);
      if (load.payloadLength == 0) report.addPoint(count, rounds);
    }
    if (count - previous >= 50) memory.push_back(std::move(step));
    previous = count;
  }
  reportMemory(plan, memory, report);
}

}  // namespace orva_accelerator::bench
