// completion: a script for the shell.
#include <memory>
#include <string>

#include "tools/commands.h"
#include "tools/completion.h"

namespace orva_accelerator::tools {

void addCompletionCommand(CLI::App& app, Context& context) {
  auto shell = std::make_shared<std::string>();
  CLI::App* completion =
      app.add_subcommand("completion", "Print a script that completes commands and options");
  completion->add_option("SHELL", *shell, "bash or powershell")
      ->required()
      ->check(CLI::IsMember({"bash", "powershell"}));
  // The parser outlives the action: it is what the action describes.
  whenChosen(*completion, context, [&app, shell](Context& chosen) {
    chosen.console.out(*shell == "bash" ? bashCompletion(app) : powerShellCompletion(app));
    return ExitOk;
  });
}

}  // namespace orva_accelerator::tools
