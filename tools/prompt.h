// Questions to whoever sits at the console.
#pragma once

#include <string>

#include "client/result.h"
#include "tools/console.h"

namespace orva_accelerator::tools {

// Whether standard input is a console, so that there may be somebody to answer.
bool canAsk();

enum class Echo { On, Off };

// Shows the question on standard error and gives the line that is typed, without its end. Only
// where canAsk. Ctrl+C puts the console's mode back and ends the process with ExitInterrupted.
client::Result<std::wstring> ask(Console& console, const std::string& question, Echo echo);

}  // namespace orva_accelerator::tools
