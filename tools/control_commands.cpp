// start, start-ex, stop, leave: the acceleration itself.
#include <memory>

#include "tools/commands.h"
#include "tools/options_parsing.h"
#include "tools/outcome.h"

namespace orva_accelerator::tools {
namespace {

client::Result<client::Done> accepted(const client::Result<bool>& answer) {
  if (!answer) return answer.error();
  if (answer.value()) return client::Done{};
  return client::Error{client::ErrorKind::Refused, "start the acceleration", 0,
                       "the library refused, or a start of another client is under way"};
}

void addStart(CLI::App& app, Context& context) {
  auto request = std::make_shared<client::StartRequest>();
  auto wait = std::make_shared<bool>(false);
  CLI::App* start = app.add_subcommand("start", "Start an acceleration");
  addStartOptions(*start, *request);
  start->add_flag("--wait", *wait, "Show the progress until it runs or has ended");
  start->callback([&context, request, wait] {
    context.action = [&context, request, wait] {
      return sendAndAwait(
          context, *wait, client::Awaited::Start, "start", "Start accepted.",
          [&](client::ServiceClient& service) { return accepted(service.start(*request)); });
    };
  });
}

void addStartEx(CLI::App& app, Context& context) {
  auto request = std::make_shared<client::StartExRequest>();
  auto wait = std::make_shared<bool>(false);
  CLI::App* start =
      app.add_subcommand("start-ex", "Stop whatever runs, then start with one more argument");
  addStartOptions(*start, request->start);
  start->add_option("--arg4", request->startArg4, "startArg4")->capture_default_str();
  start->add_flag("--wait", *wait, "Show the progress until it runs or has ended");
  start->callback([&context, request, wait] {
    context.action = [&context, request, wait] {
      return sendAndAwait(
          context, *wait, client::Awaited::Start, "start-ex", "Start accepted.",
          [&](client::ServiceClient& service) { return accepted(service.startEx(*request)); });
    };
  });
}

void addStop(CLI::App& app, Context& context) {
  auto wait = std::make_shared<bool>(false);
  CLI::App* stop = app.add_subcommand("stop", "Stop the acceleration, whoever started it");
  stop->add_flag("--wait", *wait, "Wait for the result, which is announced later");
  stop->callback([&context, wait] {
    context.action = [&context, wait] {
      return sendAndAwait(context, *wait, client::Awaited::Stop, "stop", "Stop request taken.",
                          [](client::ServiceClient& service) { return service.stop(); });
    };
  });
}

}  // namespace

void addControlCommands(CLI::App& app, Context& context) {
  addStart(app, context);
  addStartEx(app, context);
  addStop(app, context);
  app.add_subcommand("leave", "Say that this client leaves; the last one to leave ends the service")
      ->callback([&context] {
        context.action = [&context] {
          return askAndPrint(context, "leave",
                             [](client::ServiceClient& service) { return service.leave(); });
        };
      });
}

}  // namespace orva_accelerator::tools
