// The command families: each adds its commands to the parser. A command that is chosen sets
// Context::action.
#pragma once

#include <CLI/CLI.hpp>
#include <utility>

#include "tools/context.h"

namespace orva_accelerator::tools {

// Makes `run`, which takes the context and gives the exit code, what is done when the command line
// has this command.
template <typename Run>
void whenChosen(CLI::App& command, Context& context, Run run) {
  command.callback([&context, run = std::move(run)] {
    context.action = [&context, run] { return run(context); };
  });
}

// service start, stop, restart, status, wait. Wants --timeout to be there.
void addServiceCommands(CLI::App& app, Context& context);
void addDoctorCommand(CLI::App& app, Context& context);
void addSdkCommands(CLI::App& app, Context& context);      // init, login, release
void addStatusCommands(CLI::App& app, Context& context);   // status, owner, heartbeat
void addControlCommands(CLI::App& app, Context& context);  // start, start-ex, stop, leave
void addQueryCommands(CLI::App& app, Context& context);    // console, last, speed, game, nodes
void addDataCommand(CLI::App& app, Context& context);
void addWatchCommand(CLI::App& app, Context& context);
void addSessionCommand(CLI::App& app, Context& context);
// Of orvactl-dev alone.
void addRawCommand(CLI::App& app, Context& context);
void addLoadCommand(CLI::App& app, Context& context);
// Keeps a reference to `app`, whose commands and options it prints.
void addCompletionCommand(CLI::App& app, Context& context);

}  // namespace orva_accelerator::tools
