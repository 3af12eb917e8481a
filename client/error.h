// What went wrong, as a value: nothing in this library throws for a failure of the service, of the
// pipe or of the caller's input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orva_accelerator::client {

// In the order of the C interface's codes; whoever has something for each counts on it.
enum class ErrorKind {
  Usage,          // The caller asked for something that cannot be sent.
  NotInstalled,   // There is no such service: install it.
  NotRunning,     // It is there and does not run: start it.
  NotTheService,  // Somebody else serves the pipe: tell nobody anything, and do not try again.
  HungUp,         // The service ended the connection, or itself: connect anew.
  Timeout,        // The deadline passed.
  Refused,        // The service or the library answered, and the answer is no.
  Protocol,       // What came does not keep to the protocol: a bug on one of the two sides.
  System,         // Any other failed Win32 call.
  Interrupted,    // The caller's own interrupt event was signalled.
};
inline constexpr std::size_t kErrorKinds = static_cast<std::size_t>(ErrorKind::Interrupted) + 1;

struct Error {
  ErrorKind kind = ErrorKind::System;
  std::string step;             // What was being done: "open the request pipe".
  std::uint32_t win32Code = 0;  // The code of the failed call; 0 where none failed.
  std::string text;             // What that means for the reader, in a sentence without full stop.
};

// "not-running" and so on: for programs; never changes.
const char* kindName(ErrorKind kind);

// One line for people: "Could not open the request pipe: the service is not running (Win32 error
// 2)".
std::string describe(const Error& error);

}  // namespace orva_accelerator::client
