// What --help says besides the names and options: in which group a command is listed, and how it is
// used.
#pragma once

#include <CLI/CLI.hpp>

namespace orva_accelerator::tools {

extern const char kSummary[];

// Puts each command into its group and its examples behind its help, and the first steps behind the
// help of `app`.
void addHelpTexts(CLI::App& app);

}  // namespace orva_accelerator::tools
