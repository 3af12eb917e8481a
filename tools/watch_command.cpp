// watch: notifications as they come.
#include <algorithm>
#include <memory>

#include "client/service_control.h"
#include "tools/commands.h"
#include "tools/interrupt.h"
#include "tools/options_parsing.h"
#include "tools/outcome.h"

namespace orva_accelerator::tools {
namespace {

using std::chrono::milliseconds;

struct WatchOptions {
  std::uint32_t count = 0;  // 0: no limit.
  milliseconds seconds{0};  // 0: no limit.
};

// Whether the service has ended itself or only the connection. Its process needs a moment to end
// after its pipes have.
client::Error withReason(const Context& context, client::Error hungUp) {
  constexpr milliseconds kMoment{2000};
  const client::Endpoint& endpoint = context.options.push;
  if (endpoint.verifyServer &&
      client::waitUntilEnded(endpoint.serviceName, client::Deadline::after(kMoment))) {
    hungUp.text = "the service has ended";
  }
  return hungUp;
}

int runWatch(Context& context, const WatchOptions& options) {
  const HANDLE interrupt = interruptEvent();
  auto push = context.registerPush();
  if (!push) return context.fail(push.error());
  if (context.options.json) {
    context.print("watch", Json{{"clientId", context.options.clientId}});
  }
  context.say("Watching as client " + std::to_string(context.options.clientId) + ".");
  // Without a limit of time, in turns of a day.
  const bool limited = options.seconds.count() != 0;
  const milliseconds turn = limited ? options.seconds : std::chrono::hours(24);
  auto deadline = client::Deadline::after(turn);
  for (std::uint32_t seen = 0; options.count == 0 || seen < options.count;) {
    if (interrupted(interrupt)) return ExitOk;
    auto next = push.value().next(deadline, interrupt);
    if (next) {
      printNotification(context, *next.value());
      if (context.console.outFailed()) return ExitOther;
      ++seen;
      continue;
    }
    const client::ErrorKind kind = next.error().kind;
    if (kind == client::ErrorKind::Interrupted) return ExitOk;
    if (kind == client::ErrorKind::HungUp) return context.fail(withReason(context, next.error()));
    if (kind != client::ErrorKind::Timeout) return context.fail(next.error());
    if (limited) return ExitOk;
    deadline = client::Deadline::after(turn);
  }
  return ExitOk;
}

}  // namespace

void addWatchCommand(CLI::App& app, Context& context) {
  auto options = std::make_shared<WatchOptions>();
  CLI::App* watch = app.add_subcommand(
      "watch", "Register for notifications and print them until Ctrl+C or a limit");
  watch->add_option("--count", options->count, "End after so many notifications");
  addDuration(*watch, "--seconds", options->seconds, std::chrono::seconds(1),
              "End after this time; a bare number is seconds");
  watch->callback([&context, options] {
    context.action = [&context, options] { return runWatch(context, *options); };
  });
}

}  // namespace orva_accelerator::tools
