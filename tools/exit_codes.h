// The exit codes of orvactl. Scripts depend on them; docs/orvactl.md lists them.
#pragma once

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
  switch (kind) {
    case client::ErrorKind::Usage:
      return ExitUsage;
    case client::ErrorKind::NotInstalled:
    case client::ErrorKind::NotRunning:
      return ExitNoService;
    case client::ErrorKind::NotTheService:
      return ExitNotTheService;
    case client::ErrorKind::HungUp:
      return ExitHungUp;
    case client::ErrorKind::Timeout:
      return ExitTimeout;
    case client::ErrorKind::Refused:
      return ExitRefused;
    case client::ErrorKind::Protocol:
      return ExitProtocol;
    case client::ErrorKind::Interrupted:
      return ExitInterrupted;
    case client::ErrorKind::System:
      return ExitOther;
  }
  return ExitOther;
}

}  // namespace orva_accelerator::tools
