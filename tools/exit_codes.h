// The exit codes of orvactl. Scripts depend on them; docs/orvactl.md lists them.
#pragma once

#include "client/error.h"

namespace orva_accelerator::tools {

enum ExitCode : int {
  kExitOk = 0,
  kExitOther = 1,      // Any other failed Win32 call.
  kExitUsage = 2,      // The command line, or an argument that no request can carry.
  kExitNoService = 3,  // The service is not installed or does not run.
  kExitTimeout = 4,
  kExitRefused = 5,   // The service or the library said no, or knows nothing of what was asked.
  kExitProtocol = 6,  // What came does not keep to the protocol.
  kExitWarnings = 7,  // The doctor's worst finding is a warning.
  kExitProblems = 8,  // The doctor found a problem.
  kExitNotTheService = 9,  // Somebody else serves the pipe.
  kExitHungUp = 10,        // The service ended the connection, or itself.
  kExitInterrupted = 130,  // Ctrl+C before the end.
};

constexpr int ExitCodeOf(client::ErrorKind kind) {
  switch (kind) {
    case client::ErrorKind::Usage:
      return kExitUsage;
    case client::ErrorKind::NotInstalled:
    case client::ErrorKind::NotRunning:
      return kExitNoService;
    case client::ErrorKind::NotTheService:
      return kExitNotTheService;
    case client::ErrorKind::HungUp:
      return kExitHungUp;
    case client::ErrorKind::Timeout:
      return kExitTimeout;
    case client::ErrorKind::Refused:
      return kExitRefused;
    case client::ErrorKind::Protocol:
      return kExitProtocol;
    case client::ErrorKind::Interrupted:
      return kExitInterrupted;
    case client::ErrorKind::System:
      return kExitOther;
  }
  return kExitOther;
}

}  // namespace orva_accelerator::tools
