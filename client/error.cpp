#include "client/error.h"

#include <iterator>

namespace orva_accelerator::client {

const char* kindName(ErrorKind kind) {
  static constexpr const char* kNames[] = {
      "usage",   "not-installed", "not-running", "not-the-service", "hung-up",
      "timeout", "refused",       "protocol",    "system",          "interrupted"};
  static_assert(std::size(kNames) == kErrorKinds);
  const auto index = static_cast<std::size_t>(kind);
  return index < kErrorKinds ? kNames[index] : "system";
}

std::string describe(const Error& error) {
  std::string line = "Could not " + error.step + ": " + error.text;
  if (error.win32Code != 0) line += " (Win32 error " + std::to_string(error.win32Code) + ")";
  return line;
}

}  // namespace orva_accelerator::client
