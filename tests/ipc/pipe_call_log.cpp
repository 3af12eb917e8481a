#include "tests/ipc/pipe_call_log.h"

#include <algorithm>
#include <utility>

#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {

void PipeCallLog::Entries::add(HANDLE handle, std::string line) {
  const std::lock_guard lock(mutex);
  all.push_back({handle, std::move(line)});
}

PipeCallLog::PipeCallLog() {
  const auto entries = entries_;
  connectNamedPipe.observe(
      [entries](HANDLE pipe, LPOVERLAPPED) { entries->add(pipe, "ConnectNamedPipe"); });
  disconnectNamedPipe.observe(
      [entries](HANDLE pipe) { entries->add(pipe, "DisconnectNamedPipe"); });
  readFile.observe([entries](HANDLE pipe, LPVOID, DWORD size, LPDWORD, LPOVERLAPPED) {
    entries->add(pipe, "ReadFile " + std::to_string(size));
  });
  writeFile.observe([entries](HANDLE pipe, LPCVOID, DWORD size, LPDWORD, LPOVERLAPPED) {
    entries->add(pipe, "WriteFile " + std::to_string(size));
  });
  flushFileBuffers.observe([entries](HANDLE pipe) { entries->add(pipe, "FlushFileBuffers"); });
  closeHandle.observe([entries](HANDLE handle) { entries->add(handle, "CloseHandle"); });
}

PipeCallLog::Lines PipeCallLog::of(HANDLE pipe) const {
  const std::lock_guard lock(entries_->mutex);
  Lines lines;
  for (const Entry& entry : entries_->all) {
    if (entry.handle != pipe) continue;
    if (lines.empty() && entry.line != "ConnectNamedPipe") continue;
    lines.push_back(entry.line);
    if (entry.line == "CloseHandle") break;
  }
  return lines;
}

std::size_t PipeCallLog::count(HANDLE pipe, const std::string& line) const {
  const Lines lines = of(pipe);
  return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line));
}

bool PipeCallLog::becomes(HANDLE pipe, const Lines& expected) const {
  return waitUntil([&] { return of(pipe) == expected; });
}

std::vector<HANDLE> PipeCallLog::listeners() const {
  const std::lock_guard lock(entries_->mutex);
  std::vector<HANDLE> pipes;
  for (const Entry& entry : entries_->all) {
    if (entry.line == "ConnectNamedPipe") pipes.push_back(entry.handle);
  }
  return pipes;
}

}  // namespace orva_accelerator::test
