#include "tools/command_line.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "tools/commands.h"
#include "tools/help_texts.h"
#include "tools/options_parsing.h"
#include "win32/utf8.h"

namespace orva_accelerator::tools {
namespace {

void addHidden(CLI::App& app, const std::string& name, const std::string& help,
               std::function<void(const std::wstring&)> take) {
  app.add_option(
         name,
         [take = std::move(take)](const CLI::results_t& texts) {
           take(win32::wideFromUtf8(texts.back()).value_or(std::wstring()));
           return true;
         },
         help)
      ->group("");
}

void addGlobalOptions(CLI::App& app, Context& context) {
  Options& options = context.options;
  options.clientId = GetCurrentProcessId();
  app.set_version_flag("--version", app.get_name() + " " ORVA_VERSION);
  app.add_option("--client-id", options.clientId,
                 "Client id, decimal or 0x... (default: the process id)");
  addDuration(app, "--timeout", options.timeout, std::chrono::milliseconds(1),
              "Longest time for one request, such as 500ms or 2s; a bare number is "
              "milliseconds (default: 5s, and 30s for the service commands)");
  addDuration(app, "--wait-timeout", options.waitTimeout, std::chrono::milliseconds(1),
              "Longest time for an outcome that is announced later (default: 30s)");
  app.add_flag("--json", options.json, "Print JSON, one object a line");
  app.add_flag_callback(
      "--no-verify-server",
      [&options] { options.request.verifyServer = options.push.verifyServer = false; },
      "Do not check that the pipes belong to the service's process");
  addHidden(app, "--request-pipe", "Another pipe, for tests",
            [&options](const std::wstring& name) { options.request.pipeName = name; });
  addHidden(app, "--push-pipe", "Another pipe, for tests",
            [&options](const std::wstring& name) { options.push.pipeName = name; });
  addHidden(app, "--service-name", "Another service, for tests",
            [&options](const std::wstring& name) {
              options.request.serviceName = options.push.serviceName = name;
            });
}

}  // namespace

std::unique_ptr<CLI::App> makeParser(Context& context) {
  auto app =
      std::make_unique<CLI::App>(kSummary, context.forDevelopers ? "orvactl-dev" : "orvactl");
  app->require_subcommand(1);
  app->fallthrough();  // Global options may stand behind the command too.
  addGlobalOptions(*app, context);
  addServiceCommands(*app, context);
  addDoctorCommand(*app, context);
  addSdkCommands(*app, context);
  addStatusCommands(*app, context);
  addControlCommands(*app, context);
  addQueryCommands(*app, context);
  addDataCommand(*app, context);
  addWatchCommand(*app, context);
  addSessionCommand(*app, context);
  if (context.forDevelopers) {
    addRawCommand(*app, context);
    addLoadCommand(*app, context);
  }
  addCompletionCommand(*app, context);
  addHelpTexts(*app);
  return app;
}

int runCommandLine(Context& context, std::vector<std::string> arguments) {
  const auto app = makeParser(context);
  // The parser stops at the first mistake, which may stand before the option.
  const bool asksForJson = std::ranges::find(arguments, "--json") != arguments.end();
  if (asksForJson) context.options.json = true;
  std::ranges::reverse(arguments);  // The parser takes them from the back.
  try {
    app->parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    if (asksForJson && error.get_exit_code() != 0) {
      return context.fail(
          client::Error{client::ErrorKind::Usage, "read the command line", 0, error.what()});
    }
    std::ostringstream out;
    std::ostringstream err;
    const int code = app->exit(error, out, err);
    context.console.out(out.str());
    context.console.err(err.str());
    return code == 0 ? ExitOk : ExitUsage;
  }
  const int code = context.action();
  return code == ExitOk && context.console.outFailed() ? ExitOther : code;
}

}  // namespace orva_accelerator::tools
