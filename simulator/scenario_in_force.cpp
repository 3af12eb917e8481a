#include "simulator/scenario_in_force.h"

#include <windows.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <stdexcept>

#include "simulator/module_files.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::simulator {
namespace {

constexpr std::wstring_view fileName = L"OpenKernel.scenario.json";

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
  const std::wstring path = pathBesideLibrary(fileName);
  std::mutex mutex;
  FileStamp stamp;
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

Scenario readScenario(const Source& source, std::string& report) {
  if (!source.stamp.exists) {
    report = "scenario: default";
    return defaultScenario();
  }
  try {
    Scenario scenario = parseScenario(readFile(source.path));
    report = "scenario: OpenKernel.scenario.json";
    return scenario;
  } catch (const std::exception& error) {
    report =
        "scenario: default, because OpenKernel.scenario.json is wrong: " + oneLine(error.what());
    return defaultScenario();
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
  const bool mustRead = source.loaded == nullptr || reading == ReadScenario::always;
  if (!mustRead && !source.loaded->scenario.watch) return source.loaded;
  const FileStamp stamp = stampOf(source.path);
  if (!mustRead && stamp == source.stamp) return source.loaded;
  // Stamped before it is read: a change in the meantime is noticed at the next call.
  source.stamp = stamp;
  std::string report;
  source.loaded = std::make_shared<LoadedScenario>(readScenario(source, report));
  applyLogSettings(source.loaded->scenario.log);
  logLine(report);
  return source.loaded;
}

}  // namespace orva_accelerator::simulator
