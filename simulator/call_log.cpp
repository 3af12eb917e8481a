#include "simulator/call_log.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <utility>

#include "simulator/module_files.h"
#include "simulator/texts.h"

namespace orva_accelerator::simulator {
namespace {

using Clock = std::chrono::steady_clock;

// Never destroyed, like all state of the library: its threads may still use it while the process
// runs the library's exit code, and the system closes the file anyway.
struct Log {
  std::atomic<bool> enabled{true};
  std::atomic<bool> timestamps{false};
  std::atomic<bool> append{false};
  std::mutex mutex;  // Guards what follows and keeps the lines apart.
  bool opened = false;
  HANDLE file = INVALID_HANDLE_VALUE;  // None when it could not be opened.
  Clock::time_point start;
};

Log& theLog() {
  static Log& log = *new Log;
  return log;
}

void openFile(Log& log) {
  // Append access: a test may truncate the file while the library goes on. All sharing is allowed:
  // it may also read, rename and delete it.
  log.file =
      CreateFileW(pathBesideLibrary(L"OpenKernel.calls.log").c_str(), FILE_APPEND_DATA,
                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  log.append.load() ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  log.start = Clock::now();
}

std::string timestamp(const Log& log) {
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - log.start);
  char text[64];
  const auto micros = static_cast<long long>(elapsed.count());
  const int length = std::snprintf(text, sizeof text, "%lld.%03lld %lu ", micros / 1000,
                                   micros % 1000, GetCurrentThreadId());
  return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

void applyLogSettings(const LogSettings& settings) {
  Log& log = theLog();
  log.enabled = settings.enabled;
  log.timestamps = settings.timestamps;
  log.append = settings.append;
}

void logLine(std::string_view line) {
  Log& log = theLog();
  if (!log.enabled.load(std::memory_order_relaxed)) return;
  // Appending writes of several threads are not kept apart everywhere, so that is done here.
  const std::lock_guard lock(log.mutex);
  if (!std::exchange(log.opened, true)) openFile(log);
  if (log.file == INVALID_HANDLE_VALUE) return;
  std::string whole = log.timestamps.load() ? timestamp(log) : std::string();
  whole.append(line).append("\n");
  DWORD written = 0;
  // A full disk costs the line and nothing else.
  (void)WriteFile(log.file, whole.data(), static_cast<DWORD>(whole.size()), &written, nullptr);
}

LogEntry::LogEntry(std::string_view kind, std::string_view function)
    : enabled_(theLog().enabled.load(std::memory_order_relaxed)) {
  if (enabled_) line_.append(kind).append(" ").append(function).append("(");
}

void LogEntry::startArgument(std::string_view name) {
  if (!first_) line_ += ", ";
  first_ = false;
  line_.append(name).append("=");
}

LogEntry& LogEntry::number(std::string_view name, std::int64_t value) {
  if (!enabled_) return *this;
  startArgument(name);
  line_ += std::to_string(value);
  return *this;
}

LogEntry& LogEntry::number(std::string_view name, std::uint64_t value) {
  if (!enabled_) return *this;
  startArgument(name);
  line_ += std::to_string(value);
  return *this;
}

LogEntry& LogEntry::number(std::string_view name, std::uint32_t value) {
  return number(name, static_cast<std::uint64_t>(value));
}

LogEntry& LogEntry::number(std::string_view name, int value) {
  return number(name, static_cast<std::int64_t>(value));
}

LogEntry& LogEntry::text(std::string_view name, const wchar_t* text) {
  if (!enabled_) return *this;
  startArgument(name);
  if (text == nullptr) {
    line_ += "null";
  } else {
    appendQuoted(line_, text);
  }
  return *this;
}

LogEntry& LogEntry::pointer(std::string_view name, bool set) {
  if (!enabled_) return *this;
  startArgument(name);
  line_ += set ? "pointer" : "null";
  return *this;
}

void LogEntry::write() {
  if (!enabled_) return;
  line_ += ")";
  logLine(line_);
}

}  // namespace orva_accelerator::simulator
