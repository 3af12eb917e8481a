// The whole of orvactl's command line.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "tools/context.h"

namespace orva_accelerator::tools {

// The parser with every command and option; keeps references to `context`.
std::unique_ptr<CLI::App> makeParser(Context& context);

// Parses the arguments (without the program's name, UTF-8) and runs the command. Gives the exit
// code.
int runCommandLine(Context& context, std::vector<std::string> arguments);

}  // namespace orva_accelerator::tools
