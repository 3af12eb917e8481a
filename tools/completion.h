// Scripts with which a shell completes orvactl's commands and options.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <vector>

namespace orva_accelerator::tools {

// What may stand behind each command: its subcommands, the words that its arguments allow, its
// options and the global ones. By the words that lead to the command; "" is orvactl itself. What
// the help does not show is not here either.
std::map<std::string, std::vector<std::string>> completionWords(const CLI::App& app);

std::string bashCompletion(const CLI::App& app);
std::string powerShellCompletion(const CLI::App& app);

}  // namespace orva_accelerator::tools
