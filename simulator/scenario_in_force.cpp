#include "simulator/scenario_in_force.h"

#include <windows.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include "simulator/module_files.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::simulator {
namespace {

constexpr std::wstring_view kFileName = L"OpenKernel.scenario.json";

// What tells one state of the file from another.
struct FileStamp {
  bool exists = false;
  DWORD writeTimeLow = 0;
  DWORD writeTimeHigh = 0;
  DWORD size = 0;
  bool operator==(const FileStamp&) const = default;
};

FileStamp stampOf(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return {};
  return {true, data.ftLastWriteTime.dwLowDateTime, data.ftLastWriteTime.dwHighDateTime,
          data.nFileSizeLow};
}

std::string readFile(const std::wstring& path) {
  const win32::UniqueFileHandle file(CreateFileW(
      path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) throw std::runtime_error("cannot be opened: error " + std::to_string(GetLastError()));
  std::string text;
  char block[4096];
  for (;;) {
    DWORD got = 0;
    if (!ReadFile(file.get(), block, sizeof block, &got, nullptr)) {
      throw std::runtime_error("cannot be read: error " + std::to_string(GetLastError()));
    }
    if (got == 0) return text;
    text.append(block, got);
  }
}

struct Source {
  const std::wstring path = pathBesideLibrary(kFileName);
  std::mutex mutex;
  FileStamp stamp;
  std::optional<std::string> text;  // Of the file; none when there was no file.
  std::shared_ptr<LoadedScenario> loaded;
};

Source& theSource() {
  static Source& source = *new Source;
  return source;
}

std::string oneLine(std::string text) {
  std::ranges::replace(text, '\n', ' ');
  std::ranges::replace(text, '\r', ' ');
  return text;
}

void put(Source& source, Scenario scenario, const std::string& report) {
  source.loaded = std::make_shared<LoadedScenario>(std::move(scenario));
  applyLogSettings(source.loaded->scenario.log);
  logLine(report);
}

// Takes over what the file says now, unless it says what it said before.
void readAgain(Source& source, const FileStamp& stamp) {
  try {
    const std::optional<std::string> before = std::exchange(source.text, std::nullopt);
    if (stamp.exists) source.text = readFile(source.path);
    // Only now: a file that could not be read is tried again at the next call. The stamp is from
    // before the reading, so that a change in the meantime is noticed.
    source.stamp = stamp;
    if (source.loaded != nullptr && source.text == before) return;
    if (source.text) {
      put(source, parseScenario(*source.text), "scenario: OpenKernel.scenario.json");
    } else {
      put(source, defaultScenario(), "scenario: default");
    }
  } catch (const std::exception& error) {
    put(source, defaultScenario(),
        "scenario: default, because OpenKernel.scenario.json is wrong: " + oneLine(error.what()));
  }
}

}  // namespace

LoadedScenario::LoadedScenario(Scenario loaded) : scenario(std::move(loaded)) {
  for (const auto& [name, behaviours] : scenario.functions) calls_[name] = 0;
}

const CallBehaviour& LoadedScenario::behaviourOf(std::string_view function, bool next) {
  static const CallBehaviour& usual = *new CallBehaviour;
  const auto found = scenario.functions.find(function);
  if (found == scenario.functions.end()) return usual;
  std::atomic<std::uint32_t>& calls = calls_.find(function)->second;
  const std::uint32_t before = next ? calls.fetch_add(1) : std::max(calls.load(), 1U) - 1;
  return found->second[std::min<std::size_t>(before, found->second.size() - 1)];
}

std::shared_ptr<LoadedScenario> scenarioInForce(ReadScenario reading) {
  Source& source = theSource();
  const std::lock_guard lock(source.mutex);
  const bool mustRead = source.loaded == nullptr || reading == ReadScenario::Always;
  if (!mustRead && !source.loaded->scenario.watch) return source.loaded;
  const FileStamp stamp = stampOf(source.path);
  if (!mustRead && stamp == source.stamp) return source.loaded;
  readAgain(source, stamp);
  return source.loaded;
}

}  // namespace orva_accelerator::simulator
