// A credential from where other programs do not see it: not the command line, which is in the list
// of processes, in the shell's history and in audit logs.
#pragma once

#include <string>

#include "client/result.h"
#include "tools/console.h"

namespace orva_accelerator::tools {

// One line of standard input, without its end: asked for on standard error and typed without echo
// where standard input is a console. A usage error when there is none.
client::Result<std::string> readCredential(Console& console);

// For whoever gave one as an argument all the same.
void warnOfVisibleCredential(Console& console);

}  // namespace orva_accelerator::tools
