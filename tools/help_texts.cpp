#include "tools/help_texts.h"

#include <string>

namespace orva_accelerator::tools {
namespace {

constexpr char kService[] = "The service itself";
constexpr char kLibrary[] = "The acceleration library";
constexpr char kAcceleration[] = "An acceleration";
constexpr char kFigures[] = "Figures and lists";
constexpr char kOthers[] = "For developers";

struct HelpText {
  const char* command;
  const char* group;
  const char* examples;  // One a line, without the program in front.
};

constexpr HelpText kHelpTexts[] = {
    {"service", kService,
     "service start\nservice status\nservice restart\nservice stop --timeout 10s\nservice wait "
     "ended"},
    {"doctor", kService, "doctor\ndoctor --json"},
    {"status", kService, "status\nstatus --json"},
    {"heartbeat", kService, "heartbeat\nheartbeat --timeout 500ms"},
    {"leave", kService, "--client-id 7 leave"},
    {"init", kLibrary, "init\ninit --channel-id 1 --channel-name 官方"},
    {"login", kLibrary, "login player\n--client-id 7 login player --wait"},
    {"release", kLibrary, "release"},
    {"start", kAcceleration, "start --arg1 1001 --nodes auto\nstart --nodes \"1;2\" --wait"},
    {"start-ex", kAcceleration, "start-ex --arg1 1001 --arg4 2 --wait"},
    {"stop", kAcceleration, "stop\nstop --wait --wait-timeout 60s"},
    {"owner", kAcceleration, "--client-id 7 owner"},
    {"watch", kAcceleration,
     "watch\nwatch --reconnect\nwatch --count 3\n--json watch --seconds 60"},
    {"data", kFigures, "data\ndata --every 1\n--json data --every 500ms --count 10"},
    {"console", kFigures, "console"},
    {"last", kFigures, "last 1001"},
    {"speed", kFigures, "speed 1001 1 2 --option 1"},
    {"game", kFigures, "game 1001\n--json game 1001"},
    {"nodes", kFigures, "nodes 1001"},
    {"raw", kOthers, "raw 0xffff\nraw 0x601 e9030000"},
    {"session", kOthers, "session\nsession --yes\n--json session --account player"},
    {"load", kOthers, "load\nload --connections 16 --seconds 10\n--json load --type 0x604"},
    {"completion", kOthers, "completion bash\ncompletion powershell"},
};

constexpr char kFirstSteps[] = R"(
First steps:
  orvactl service start             start the service; no administrator is needed
  orvactl doctor                    find out why it does not work, if it does not
  orvactl status                    ask it something
  orvactl watch                     listen to what it announces, in a second window
  orvactl init                      load the acceleration library
  orvactl login player --wait
  orvactl start --arg1 1001 --nodes "1;2" --wait
  orvactl data --every 1            figures as they change, until Ctrl+C
  orvactl stop --wait
"orvactl COMMAND --help" has the options of a command and examples.

The service ends by itself 10 seconds after nobody has been there: neither the host application nor
a client that listens. Keep a "watch" running while you try things out.

Exit codes: 0 done, 1 other failure, 2 usage, 3 not installed or not running, 4 timeout, 5 refused,
6 protocol error, 9 somebody else serves the pipe, 10 the service hung up or has ended, 130 Ctrl+C;
of the doctor: 0 all is well, 7 warnings, 8 problems.)";

std::string examples(const std::string& program, const std::string& lines) {
  std::string text = "\nExamples:\n  " + program + " ";
  for (const char c : lines) {
    text += c;
    if (c == '\n') text += "  " + program + " ";
  }
  return text;
}

}  // namespace

const char kSummary[] =
    "Starts the accelerator service, asks it, and shows what it answers and announces.";

void addHelpTexts(CLI::App& app) {
  app.footer(kFirstSteps);
  for (CLI::App* command : app.get_subcommands({})) {
    for (const HelpText& help : kHelpTexts) {
      if (command->get_name() != help.command) continue;
      command->group(help.group);
      command->footer(examples(app.get_name(), help.examples));
    }
  }
}

}  // namespace orva_accelerator::tools
