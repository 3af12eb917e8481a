#include "tools/doctor/event_log.h"

#include <chrono>
#include <cstdio>
#include <cstring>

#include "tools/doctor/registered_path.h"

namespace orva_accelerator::tools {
namespace {

constexpr std::size_t kRoom = 65'536;  // A single record has at most this.
constexpr int kMostReads = 500;        // Some ten thousand events.
// Windows notes a crash some seconds before or after the end of the process.
constexpr std::int64_t kSameEnd = 60;

// The text at `offset`, without its end; moves `offset` behind it. Nothing when it does not end.
std::optional<std::wstring> textAt(std::span<const std::uint8_t> bytes, std::size_t& offset) {
  std::wstring text;
  for (; offset + sizeof(wchar_t) <= bytes.size();) {
    wchar_t unit = 0;
    std::memcpy(&unit, bytes.data() + offset, sizeof(unit));
    offset += sizeof(unit);
    if (unit == L'\0') return text;
    text += unit;
  }
  return std::nullopt;
}

std::optional<LoggedEvent> eventOf(const EVENTLOGRECORD& record,
                                   std::span<const std::uint8_t> bytes) {
  LoggedEvent event;
  event.id = record.EventID & 0xFFFF;  // The rest is its severity and facility.
  event.time = record.TimeGenerated;
  std::size_t offset = sizeof(EVENTLOGRECORD);
  const auto source = textAt(bytes, offset);
  if (!source) return std::nullopt;
  event.source = *source;
  offset = record.StringOffset;
  for (unsigned i = 0; i < record.NumStrings; ++i) {
    auto text = textAt(bytes, offset);
    if (!text) return std::nullopt;
    event.texts.push_back(std::move(*text));
  }
  return event;
}

bool names(const LoggedEvent& event, const std::wstring& who) {
  return !event.texts.empty() && equalIgnoringCase(event.texts.front(), who);
}

}  // namespace

bool visitRecords(std::span<const std::uint8_t> bytes, const EventVisitor& visit) {
  while (!bytes.empty()) {
    EVENTLOGRECORD record{};
    if (bytes.size() < sizeof(record)) return false;
    std::memcpy(&record, bytes.data(), sizeof(record));
    if (record.Length < sizeof(record) || record.Length > bytes.size()) return false;
    const auto event = eventOf(record, bytes.first(record.Length));
    if (!event || !visit(*event)) return false;
    bytes = bytes.subspan(record.Length);
  }
  return true;
}

DWORD readEventLog(const wchar_t* log, const EventVisitor& visit) {
  const HANDLE events = OpenEventLogW(nullptr, log);
  if (events == nullptr) return GetLastError();
  std::vector<std::uint8_t> room(kRoom);
  DWORD code = 0;
  for (int reads = 0; reads < kMostReads; ++reads) {
    DWORD got = 0;
    DWORD needed = 0;
    if (!ReadEventLogW(events, EVENTLOG_SEQUENTIAL_READ | EVENTLOG_BACKWARDS_READ, 0, room.data(),
                       kRoom, &got, &needed)) {
      code = GetLastError();
      break;
    }
    if (!visitRecords(std::span(room).first(got), visit)) break;
  }
  // Only read from: nothing is lost when it does not close.
  (void)CloseEventLog(events);
  return code == ERROR_HANDLE_EOF ? 0 : code;
}

bool LoggedEnding::wasAFault() const {
  return fault && (!ended || fault->time + kSameEnd >= ended->time);
}

LoggedEnding findLoggedEnding(const EventReader& read, const std::wstring& displayName,
                              const std::wstring& program) {
  LoggedEnding ending;
  ending.error = read(L"System", [&](const LoggedEvent& event) {
    const bool found = event.source == L"Service Control Manager" &&
                       (event.id == 7031 || event.id == 7034) && names(event, displayName);
    if (found) ending.ended = event;
    return !found;
  });
  if (ending.error != 0) return ending;
  ending.error = read(L"Application", [&](const LoggedEvent& event) {
    const bool found =
        event.source == L"Application Error" && event.id == 1000 && names(event, program);
    if (found) ending.fault = event;
    return !found;
  });
  return ending;
}

std::string timeText(std::int64_t secondsSince1970) {
  using namespace std::chrono;
  const sys_seconds moment{seconds(secondsSince1970)};
  const auto day = floor<days>(moment);
  const year_month_day date{day};
  const hh_mm_ss clock{moment - day};
  char text[64];
  // Always fits.
  (void)std::snprintf(text, sizeof(text), "%04d-%02u-%02u %02d:%02d:%02d UTC",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()),
                      static_cast<int>(clock.seconds().count()));
  return text;
}

}  // namespace orva_accelerator::tools
