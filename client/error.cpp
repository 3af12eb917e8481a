#include "client/error.h"

namespace orva_accelerator::client {

const char* kindName(ErrorKind kind) {
  switch (kind) {
    case ErrorKind::Usage:
      return "usage";
    case ErrorKind::NotInstalled:
      return "not-installed";
    case ErrorKind::NotRunning:
      return "not-running";
    case ErrorKind::NotTheService:
      return "not-the-service";
    case ErrorKind::HungUp:
      return "hung-up";
    case ErrorKind::Timeout:
      return "timeout";
    case ErrorKind::Refused:
      return "refused";
    case ErrorKind::Protocol:
      return "protocol";
    case ErrorKind::System:
      return "system";
    case ErrorKind::Interrupted:
      return "interrupted";
  }
  return "system";
}

std::string describe(const Error& error) {
  std::string line = "Could not " + error.step + ": " + error.text;
  if (error.win32Code != 0) line += " (Win32 error " + std::to_string(error.win32Code) + ")";
  return line;
}

}  // namespace orva_accelerator::client
