#include "tests/simulator/simulator_folder.h"

#include <windows.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "tests/support/bounded_wait.h"

namespace orva_accelerator::test {
namespace {

std::filesystem::path builtLibrary(std::string_view variant) {
  const std::filesystem::path bin = testExecutableFolder().parent_path();
  const std::filesystem::path folder =
      variant == "OpenKernel" ? bin / "accel_sdk" / "sdk_x64" : bin / "variants";
  return folder / (std::string(variant) + ".dll");
}

}  // namespace

std::filesystem::path testExecutableFolder() {
  wchar_t path[1024];
  const DWORD length = GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
  if (length == 0 || length == std::size(path)) throw std::runtime_error("no executable path");
  return std::filesystem::path(path).parent_path();
}

void SimulatorFolder::copyLibrary(std::string_view variant) const {
  std::filesystem::copy_file(builtLibrary(variant), library(),
                             std::filesystem::copy_options::overwrite_existing);
}

void SimulatorFolder::writeScenario(std::string_view json) {
  const std::filesystem::path target = folder_ / "OpenKernel.scenario.json";
  const std::filesystem::path draft = folder_ / "OpenKernel.scenario.draft";
  {
    std::ofstream file(draft, std::ios::binary | std::ios::trunc);
    // White space at the end makes the size differ when the time does not.
    file << json << std::string(++scenariosWritten_, '\n');
    if (!file.flush()) throw std::runtime_error("the scenario could not be written");
  }
  const BOOL moved = MoveFileExW(draft.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING);
  if (!moved) throw std::runtime_error("the scenario could not be put in place");
}

void SimulatorFolder::removeScenario() const {
  std::filesystem::remove(folder_ / "OpenKernel.scenario.json");
}

std::vector<std::string> SimulatorFolder::logLines() const {
  std::ifstream file(logFile(), std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> SimulatorFolder::logLinesStarting(std::string_view start) const {
  std::vector<std::string> lines = logLines();
  std::erase_if(lines, [start](const std::string& line) { return !line.starts_with(start); });
  return lines;
}

bool SimulatorFolder::waitForLogLine(std::string_view line) const {
  return waitUntil([&] {
    const std::vector<std::string> lines = logLines();
    return std::ranges::find(lines, line) != lines.end();
  });
}

}  // namespace orva_accelerator::test
