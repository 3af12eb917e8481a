// The simulated library, loaded into the test's own process from a folder of its own.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <deque>
#include <string_view>

#include "sdk/kernel_api.h"
#include "tests/simulator/received_completions.h"
#include "tests/simulator/simulator_folder.h"

namespace orva_accelerator::test {

// A fixture whose folder lives as long as the test. Write the scenario, then call `load`.
class LoadedSimulator : public testing::Test {
 protected:
  LoadedSimulator();
  ~LoadedSimulator() override;

  void load(std::string_view variant = "OpenKernel");
  void loadWith(std::string_view scenario) {
    folder.writeScenario(scenario);
    load();
  }
  // Gives the library back to the system, which may keep it for its own threads.
  void unload();
  bool loaded() const { return GetModuleHandleW(folder.library().c_str()) != nullptr; }

  // Contexts for completion functions. They outlive whatever the library still has to deliver,
  // which the locals of a test would not.
  ReceivedCodes& newCodes() { return codes_.emplace_back(); }
  ReceivedResults& newResults() { return results_.emplace_back(); }

  // Null when the library does not export the name.
  FARPROC find(const char* name) const { return GetProcAddress(module_, name); }
  template <typename Function>
  Function get(const char* name) const {
    const FARPROC address = find(name);
    EXPECT_NE(address, nullptr) << name;
    // Through void*: the system's type for "some function" has no arguments.
    return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
  }

 private:
  std::filesystem::path path_;
  HMODULE module_ = nullptr;
  std::deque<ReceivedCodes> codes_;
  std::deque<ReceivedResults> results_;

 protected:
  SimulatorFolder folder;
};

}  // namespace orva_accelerator::test
