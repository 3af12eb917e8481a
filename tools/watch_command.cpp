// watch: notifications as they come.
#include <algorithm>
#include <memory>
#include <utility>

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
  bool reconnect = false;
};

// Whether the next moment may bring what this one has not. Not when somebody else serves the pipe.
bool maySucceedLater(client::ErrorKind kind) {
  return kind == client::ErrorKind::NotInstalled || kind == client::ErrorKind::NotRunning ||
         kind == client::ErrorKind::HungUp || kind == client::ErrorKind::Timeout;
}

// With --reconnect, tries until it succeeds; Interrupted when the time of the whole watch is over
// or Ctrl+C came.
client::Result<client::PushChannel> beginWatching(Context& context, const WatchOptions& options,
                                                  const client::Deadline& deadline,
                                                  HANDLE interrupt) {
  constexpr milliseconds kPause{250};
  for (;;) {
    auto push = context.registerPush();
    if (push) {
      const std::uint32_t id = context.options.clientId;
      context.report("watch", Json{{"clientId", id}},
                     "Watching as client " + std::to_string(id) + ".");
      return push;
    }
    if (!options.reconnect || !maySucceedLater(push.error().kind)) return push;
    const bool limited = options.seconds.count() != 0;
    if ((limited && deadline.passed()) || interruptedWithin(interrupt, kPause)) {
      return client::Error{client::ErrorKind::Interrupted, "watch again", 0, "interrupted"};
    }
  }
}

int endWith(Context& context, const client::Error& error) {
  return error.kind == client::ErrorKind::Interrupted ? ExitOk : context.fail(error);
}

int runWatch(Context& context, const WatchOptions& options) {
  const HANDLE interrupt = interruptEvent();
  // Without a limit of time, in turns of a day.
  const bool limited = options.seconds.count() != 0;
  const milliseconds turn = limited ? options.seconds : std::chrono::hours(24);
  auto deadline = client::Deadline::after(turn);
  auto begun = beginWatching(context, options, deadline, interrupt);
  if (!begun) return endWith(context, begun.error());
  client::PushChannel push = std::move(begun.value());
  for (std::uint32_t seen = 0; options.count == 0 || seen < options.count;) {
    if (interrupted(interrupt)) return ExitOk;
    auto next = push.next(deadline, interrupt);
    if (next) {
      printNotification(context, *next.value());
      if (context.console.outFailed()) return ExitOther;
      ++seen;
      continue;
    }
    const client::ErrorKind kind = next.error().kind;
    if (kind == client::ErrorKind::HungUp && options.reconnect) {
      context.say("The connection has ended; watching again when the service is there.");
      auto again = beginWatching(context, options, deadline, interrupt);
      if (!again) return endWith(context, again.error());
      push = std::move(again.value());
      continue;
    }
    if (kind != client::ErrorKind::Timeout) return endWith(context, next.error());
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
  watch->add_flag("--reconnect", options->reconnect,
                  "Wait for the service when it is not there or ends, and watch again");
  whenChosen(*watch, context, [options](Context& chosen) { return runWatch(chosen, *options); });
}

}  // namespace orva_accelerator::tools
