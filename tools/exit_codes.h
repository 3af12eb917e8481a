// The exit codes of orvactl. Scripts depend on them; docs/orvactl.md lists them.
#pragma once

#include <cstddef>
#include <iterator>

#include "client/error.h"

namespace orva_accelerator::tools {

enum ExitCode : int {
  ExitOk = 0,
  ExitOther = 1,      // Any other failed Win32 call.
  ExitUsage = 2,      // The command line, or an argument that no request can carry.
  ExitNoService = 3,  // The service is not installed or does not run.
  ExitTimeout = 4,
  ExitRefused = 5,        // The service or the library said no, or knows nothing of what was asked.
  ExitProtocol = 6,       // What came does not keep to the protocol.
  ExitWarnings = 7,       // The doctor's worst finding is a warning.
  ExitProblems = 8,       // The doctor found a problem.
  ExitNotTheService = 9,  // Somebody else serves the pipe.
  ExitHungUp = 10,        // The service ended the connection, or itself.
  ExitInterrupted = 130,  // Ctrl+C before the end.
};

constexpr int exitCodeOf(client::ErrorKind kind) {
  constexpr ExitCode kCodes[] = {ExitUsage,  ExitNoService,  ExitNoService, ExitNotTheService,
                                 ExitHungUp, ExitTimeout,    ExitRefused,   ExitProtocol,
                                 ExitOther,  ExitInterrupted};
  static_assert(std::size(kCodes) == client::kErrorKinds);
  const auto index = static_cast<std::size_t>(kind);
  return index < client::kErrorKinds ? kCodes[index] : ExitOther;
}

}  // namespace orva_accelerator::tools
