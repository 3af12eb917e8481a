// load: how many requests the service answers, and how fast.
#include <algorithm>
#include <memory>
#include <string>

#include "ipc/wire/messages.h"
#include "tools/commands.h"
#include "tools/interrupt.h"
#include "tools/load_run.h"
#include "tools/options_parsing.h"

namespace orva_accelerator::tools {
namespace {

// A thread here and one in the service for each connection, and its payload on both sides.
constexpr std::uint32_t kMostConnections = 256;
constexpr std::size_t kLargestPayload = std::size_t{1} << 20;

double perSecond(std::uint64_t count, std::chrono::milliseconds time) {
  const auto whole = std::max<std::int64_t>(time.count(), 1);
  // One digit behind the point is more than repeats.
  const std::uint64_t tenths = count * 10'000 / static_cast<std::uint64_t>(whole);
  return static_cast<double>(tenths) / 10;
}

Json loadRecord(const LoadPlan& plan, const LoadOutcome& outcome) {
  const LatencyHistogram& latencies = outcome.latencies;
  return Json{{"connections", plan.connections},
              {"failedConnections", outcome.failedConnections},
              {"type", plan.type},
              {"payloadBytes", plan.payloadBytes},
              {"elapsedMs", outcome.elapsed.count()},
              {"interrupted", outcome.interrupted},
              {"count", latencies.count()},
              {"perSecond", perSecond(latencies.count(), outcome.elapsed)},
              {"p50Us", latencies.percentile(50)},
              {"p90Us", latencies.percentile(90)},
              {"p99Us", latencies.percentile(99)},
              {"maxUs", latencies.max()}};
}

// To standard error, so that a redirected table holds nothing else.
void showProgress(Context& context, std::chrono::milliseconds elapsed, std::uint64_t answers) {
  if (context.options.json) return;
  context.console.err(std::to_string(elapsed.count() / 1000) + " s: " + std::to_string(answers) +
                      " answers, " + Json(perSecond(answers, elapsed)).dump() + " a second\n");
}

int runLoadCommand(Context& context, const LoadPlan& plan) {
  const LoadOutcome outcome =
      runLoad(context, plan, interruptEvent(),
              [&context](auto elapsed, auto answers) { showProgress(context, elapsed, answers); });
  if (outcome.latencies.count() != 0) context.print("load", loadRecord(plan, outcome));
  return outcome.firstError ? context.fail(*outcome.firstError) : ExitOk;
}

}  // namespace

void addLoadCommand(CLI::App& app, Context& context) {
  auto plan = std::make_shared<LoadPlan>();
  plan->type = ipc::MsgHeartbeat;
  CLI::App* load =
      app.add_subcommand("load", "Ask over many connections at once, and show the latencies");
  load->add_option("--connections", plan->connections, "So many at once, each with a thread")
      ->check(CLI::Range(std::uint32_t{1}, kMostConnections))
      ->capture_default_str();
  addDuration(*load, "--seconds", plan->duration, std::chrono::seconds(1),
              "For this time, or until Ctrl+C; a bare number is seconds (default: 5)");
  load->add_option(
      "--type", plan->type,
      "Message type, decimal or 0x... (default: the heartbeat, which changes nothing)");
  load->add_option("--payload", plan->payloadBytes, "Bytes of payload a request, all zero")
      ->check(CLI::Range(std::size_t{0}, kLargestPayload))
      ->capture_default_str();
  whenChosen(*load, context, [plan](Context& chosen) { return runLoadCommand(chosen, *plan); });
}

}  // namespace orva_accelerator::tools
