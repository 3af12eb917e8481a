// The command families: each adds its commands to the parser. A command that is chosen sets
// Context::action.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/context.h"

namespace orva_accelerator::tools {

// service start, stop, wait. Wants --timeout to be there.
void AddServiceCommands(CLI::App& app, Context& context);
void AddDoctorCommand(CLI::App& app, Context& context);
void AddSdkCommands(CLI::App& app, Context& context);      // init, login, release
void AddStatusCommands(CLI::App& app, Context& context);   // status, owner, heartbeat
void AddControlCommands(CLI::App& app, Context& context);  // start, start-ex, stop, leave
void AddQueryCommands(CLI::App& app, Context& context);    // console, last, speed, game, nodes
void AddDataCommand(CLI::App& app, Context& context);
void AddWatchCommand(CLI::App& app, Context& context);
void AddRawCommand(CLI::App& app, Context& context);
void AddSessionCommand(CLI::App& app, Context& context);
void AddLoadCommand(CLI::App& app, Context& context);
// Keeps a reference to `app`, whose commands and options it prints.
void AddCompletionCommand(CLI::App& app, Context& context);

}  // namespace orva_accelerator::tools
