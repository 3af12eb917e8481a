// What Windows itself has noted about the end of the service.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orva_accelerator::tools {

struct LoggedEvent {
  std::wstring source;
  std::uint32_t id = 0;
  std::int64_t time = 0;            // Seconds since 1970, UTC.
  std::vector<std::wstring> texts;  // What the event's sentence is completed with.
};

// Called with one event after the other, the newest first, until it gives false.
using EventVisitor = std::function<bool(const LoggedEvent&)>;
// Reads a log, such as "System". 0 or the Win32 error.
using EventReader = std::function<DWORD(const wchar_t* log, const EventVisitor& visit)>;

// That of this PC. Gives up after some seconds' worth of events.
DWORD readEventLog(const wchar_t* log, const EventVisitor& visit);

// The records that ReadEventLogW has put into `bytes`. False when the visitor has had enough or a
// record is damaged.
bool visitRecords(std::span<const std::uint8_t> bytes, const EventVisitor& visit);

struct LoggedEnding {
  DWORD error = 0;                   // Why the logs cannot be read; the rest is empty then.
  std::optional<LoggedEvent> ended;  // The manager: it has ended without reporting (7031, 7034).
  std::optional<LoggedEvent> fault;  // The program has crashed (1000).

  // The last end was a crash, as far as the logs tell.
  bool wasAFault() const;
};

// The last events about the service of this display name and the program of this file name.
LoggedEnding findLoggedEnding(const EventReader& read, const std::wstring& displayName,
                              const std::wstring& program);

// "2026-01-31 12:00:00 UTC".
std::string timeText(std::int64_t secondsSince1970);

}  // namespace orva_accelerator::tools
