// A folder that holds the simulated library with its scenario and its call log.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace orva_accelerator::test {

class SimulatorFolder {
 public:
  // The folder must exist; the library need not be there yet.
  explicit SimulatorFolder(std::filesystem::path folder) : folder_(std::move(folder)) {}

  // `variant` is the name of a library that the build made: OpenKernel, OpenKernelWithoutInit or
  // OpenKernelWithoutLastName. It is always copied to OpenKernel.dll.
  void copyLibrary(std::string_view variant = "OpenKernel") const;
  std::filesystem::path library() const { return folder_ / "OpenKernel.dll"; }

  // Replaces the scenario in one step, so that the library never sees half of it, and so that the
  // library notices the change however quickly it follows the one before.
  void writeScenario(std::string_view json);
  void removeScenario() const;

  std::filesystem::path logFile() const { return folder_ / "OpenKernel.calls.log"; }
  // What is there by now; empty when there is no log.
  std::vector<std::string> logLines() const;
  // The lines that begin with `start`.
  std::vector<std::string> logLinesStarting(std::string_view start) const;
  // Waits, with a bound, until the log has a line that is `line`.
  [[nodiscard]] bool waitForLogLine(std::string_view line) const;

 private:
  std::filesystem::path folder_;
  unsigned scenariosWritten_ = 0;
};

// Where the tests' own executable is, which is where the build put everything else.
std::filesystem::path testExecutableFolder();

}  // namespace orva_accelerator::test
