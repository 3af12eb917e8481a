// orvactl: the service from the command line.
#include <windows.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tools/commands.h"
#include "tools/options_parsing.h"
#include "tools/utf8.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kFooter[] = R"(
Examples:
  orvactl status
  orvactl init --channel-id 1 --channel-name 官方
  orvactl --client-id 7 login player secret --wait
  orvactl watch --count 3
  orvactl start --arg1 1001 --nodes "1;2" --wait
  orvactl data --every 1
  orvactl --json game 1001
  orvactl raw 0x601 e9030000
  orvactl session

Exit codes: 0 done, 1 other failure, 2 usage, 3 no service, 4 timeout, 5 refused, 6 protocol error.)";

void AddHidden(CLI::App& app, const std::string& name, std::wstring& target) {
  app.add_option_function<std::string>(
         name, [&target](const std::string& text) { target = WideFromUtf8(text); },
         "Another pipe, for tests")
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
              "milliseconds (default: 5s)");
  AddDuration(app, "--wait-timeout", options.waitTimeout, std::chrono::milliseconds(1),
              "Longest time for an outcome that is announced later (default: 30s)");
  app.add_flag("--json", options.json, "Print JSON, one object a line");
  app.add_flag_callback(
      "--no-verify-server",
      [&options] { options.request.verifyServer = options.push.verifyServer = false; },
      "Do not check that the pipes belong to the service's process");
  AddHidden(app, "--request-pipe", options.request.pipeName);
  AddHidden(app, "--push-pipe", options.push.pipeName);
}

int Run(int argc, wchar_t** argv) {
  Context context;
  CLI::App app{"Asks the accelerator service, and shows what it answers and announces.", "orvactl"};
  app.footer(kFooter);
  app.require_subcommand(1);
  app.fallthrough();  // Global options may stand behind the command too.
  AddGlobalOptions(app, context);
  AddSdkCommands(app, context);
  AddStatusCommands(app, context);
  AddControlCommands(app, context);
  AddQueryCommands(app, context);
  AddDataCommand(app, context);
  AddWatchCommand(app, context);
  AddRawCommand(app, context);
  AddSessionCommand(app, context);

  // The parser takes its arguments from the back.
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.push_back(Utf8FromWide(argv[i]));
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = app.exit(error, out, err);
    context.console.Out(out.str());
    context.console.Err(err.str());
    return code == 0 ? kExitOk : kExitUsage;
  }
  const int code = context.action();
  return code == kExitOk && context.console.outFailed() ? kExitOther : code;
}

}  // namespace
}  // namespace orva_accelerator::tools

int wmain(int argc, wchar_t** argv) {
  return orva_accelerator::tools::Run(argc, argv);
}
