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

void AddHidden(CLI::App& app, const std::string& name, const std::string& help,
               std::function<void(const std::wstring&)> take) {
  app.add_option_function<std::string>(
         name,
         [take = std::move(take)](const std::string& text) {
           take(win32::wideFromUtf8(text).value_or(std::wstring()));
         },
         help)
      ->group("");
}

void AddGlobalOptions(CLI::App& app, Context& context) {
  Options& options = context.options;
  options.clientId = GetCurrentProcessId();
  app.set_version_flag("--version", "orvactl " ORVA_VERSION);
  app.add_option("--client-id", options.clientId,
                 "Client id, decimal or 0x... (default: the process id)");
  AddDuration(app, "--timeout", options.timeout, std::chrono::milliseconds(1),
              "Longest time for one request, such as 500ms or 2s; a bare number is "
              "milliseconds (default: 5s, and 30s for the service commands)");
  AddDuration(app, "--wait-timeout", options.waitTimeout, std::chrono::milliseconds(1),
              "Longest time for an outcome that is announced later (default: 30s)");
  app.add_flag("--json", options.json, "Print JSON, one object a line");
  app.add_flag_callback(
      "--no-verify-server",
      [&options] { options.request.verifyServer = options.push.verifyServer = false; },
      "Do not check that the pipes belong to the service's process");
  AddHidden(app, "--request-pipe", "Another pipe, for tests",
            [&options](const std::wstring& name) { options.request.pipeName = name; });
  AddHidden(app, "--push-pipe", "Another pipe, for tests",
            [&options](const std::wstring& name) { options.push.pipeName = name; });
  AddHidden(app, "--service-name", "Another service, for tests",
            [&options](const std::wstring& name) {
              options.request.serviceName = options.push.serviceName = name;
            });
}

}  // namespace

std::unique_ptr<CLI::App> MakeParser(Context& context) {
  auto app = std::make_unique<CLI::App>(kSummary, "orvactl");
  app->require_subcommand(1);
  app->fallthrough();  // Global options may stand behind the command too.
  AddGlobalOptions(*app, context);
  AddServiceCommands(*app, context);
  AddDoctorCommand(*app, context);
  AddSdkCommands(*app, context);
  AddStatusCommands(*app, context);
  AddControlCommands(*app, context);
  AddQueryCommands(*app, context);
  AddDataCommand(*app, context);
  AddWatchCommand(*app, context);
  AddRawCommand(*app, context);
  AddSessionCommand(*app, context);
  AddLoadCommand(*app, context);
  AddCompletionCommand(*app, context);
  AddHelpTexts(*app);
  return app;
}

int RunCommandLine(Context& context, std::vector<std::string> arguments) {
  const auto app = MakeParser(context);
  // The parser stops at the first mistake, which may stand before the option.
  const bool asksForJson = std::ranges::find(arguments, "--json") != arguments.end();
  if (asksForJson) context.options.json = true;
  std::ranges::reverse(arguments);  // The parser takes them from the back.
  try {
    app->parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    if (asksForJson && error.get_exit_code() != 0) {
      return context.Fail(
          client::Error{client::ErrorKind::Usage, "read the command line", 0, error.what()});
    }
    std::ostringstream out;
    std::ostringstream err;
    const int code = app->exit(error, out, err);
    context.console.Out(out.str());
    context.console.Err(err.str());
    return code == 0 ? kExitOk : kExitUsage;
  }
  const int code = context.action();
  return code == kExitOk && context.console.outFailed() ? kExitOther : code;
}

}  // namespace orva_accelerator::tools
