// The exit codes of orvactl. Scripts depend on them; docs/orvactl.md lists them.
#pragma once

#include "client/error.h"

namespace orva_accelerator::tools {

enum ExitCode : int {
  kExitOk = 0,
  kExitOther = 1,      // Any other failed Win32 call; an operation cut short by Ctrl+C.
  kExitUsage = 2,      // The command line, or an argument that no request can carry.
  kExitNoService = 3,  // Nobody serves the pipe, or somebody who is not the service.
  kExitTimeout = 4,
  kExitRefused = 5,   // The service or the library said no, or knows nothing of what was asked.
  kExitProtocol = 6,  // What came does not keep to the protocol, or the service hung up.
  kExitWarnings = 7,  // The doctor's worst finding is a warning.
  kExitProblems = 8,  // The doctor found a problem.
};

constexpr int ExitCodeOf(client::ErrorKind kind) {
  switch (kind) {
    case client::ErrorKind::Usage:
      return kExitUsage;
    case client::ErrorKind::NoService:
      return kExitNoService;
    case client::ErrorKind::Timeout:
      return kExitTimeout;
    case client::ErrorKind::Refused:
      return kExitRefused;
    case client::ErrorKind::Protocol:
      return kExitProtocol;
    case client::ErrorKind::System:
    case client::ErrorKind::Interrupted:
      return kExitOther;
  }
  return kExitOther;
}

}  // namespace orva_accelerator::tools
