// The call log beside the library: one line for each call, completion and scenario event, so that
// a test can assert what the service passed and what it was given.
//
// Lines are written whole, unbuffered and in one write each, by any number of threads. A log that
// cannot be written never makes a call fail: there is just no log. docs/simulator.md describes the
// format.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orva_accelerator::simulator {

struct LogSettings {
  bool enabled = true;
  bool timestamps = false;  // Milliseconds since the first line, and the thread id.
  bool append = false;      // Keep what an earlier process wrote. Looked at before the first line.
};

void applyLogSettings(const LogSettings& settings);

// Writes one line; `line` has no line end.
void logLine(std::string_view line);

// Builds the line of a call or a completion, argument by argument, and writes it with `write`. Does
// nothing while the log is off, so that a benchmark does not pay for it.
class LogEntry {
 public:
  LogEntry(std::string_view kind, std::string_view function);

  LogEntry& number(std::string_view name, std::int64_t value);
  LogEntry& number(std::string_view name, std::uint64_t value);
  LogEntry& number(std::string_view name, std::uint32_t value);
  LogEntry& number(std::string_view name, int value);
  // `text` may be null.
  LogEntry& text(std::string_view name, const wchar_t* text);
  // Says only whether there is a pointer: its value differs from run to run.
  LogEntry& pointer(std::string_view name, bool set);
  void write();

 private:
  void startArgument(std::string_view name);

  bool enabled_;
  bool first_ = true;
  std::string line_;
};

}  // namespace orva_accelerator::simulator
