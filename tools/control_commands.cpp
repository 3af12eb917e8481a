// start, start-ex, stop, leave: the acceleration itself.
#include <memory>

#include "tools/commands.h"
#include "tools/options_parsing.h"
#include "tools/outcome.h"

namespace orva_accelerator::tools {
namespace {

enum class StartKind { Usual, WithArg4 };

struct StartOptions {
  client::StartExRequest request;
  bool wait = false;
};

int runStart(Context& context, StartKind kind, const StartOptions& options) {
  const bool usual = kind == StartKind::Usual;
  return sendAndAwait(context, options.wait, client::Awaited::Start, usual ? "start" : "start-ex",
                      "Start accepted.", [&](client::ServiceClient& service) {
                        return takenStart(usual ? service.start(options.request.start)
                                                : service.startEx(options.request));
                      });
}

void addStart(CLI::App& app, Context& context, StartKind kind, const char* name, const char* help) {
  auto options = std::make_shared<StartOptions>();
  CLI::App* start = app.add_subcommand(name, help);
  addStartOptions(*start, options->request.start);
  if (kind == StartKind::WithArg4) {
    start->add_option("--arg4", options->request.startArg4, "startArg4")->capture_default_str();
  }
  start->add_flag("--wait", options->wait, "Show the progress until it runs or has ended");
  whenChosen(*start, context,
             [kind, options](Context& chosen) { return runStart(chosen, kind, *options); });
}

void addStop(CLI::App& app, Context& context) {
  auto wait = std::make_shared<bool>(false);
  CLI::App* stop = app.add_subcommand("stop", "Stop the acceleration, whoever started it");
  stop->add_flag("--wait", *wait, "Wait for the result, which is announced later");
  whenChosen(*stop, context, [wait](Context& chosen) {
    return sendAndAwait(chosen, *wait, client::Awaited::Stop, "stop", "Stop request taken.",
                        [](client::ServiceClient& service) { return service.stop(); });
  });
}

}  // namespace

void addControlCommands(CLI::App& app, Context& context) {
  addStart(app, context, StartKind::Usual, "start", "Start an acceleration");
  addStart(app, context, StartKind::WithArg4, "start-ex",
           "Stop whatever runs, then start with one more argument");
  addStop(app, context);
  whenChosen(*app.add_subcommand("leave",
                                 "Say that this client leaves; the last one to leave ends the "
                                 "service"),
             context,
             [](Context& chosen) { return queryAndPrint<ipc::MsgClientLeaving>(chosen, "leave"); });
}

}  // namespace orva_accelerator::tools
