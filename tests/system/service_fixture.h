// The built service, registered with the real service control manager and running as a service.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "tests/simulator/simulator_folder.h"
#include "tests/support/bounded_wait.h"
#include "tests/support/child_process.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {

// What the manager has written down about the service.
struct Registration {
  std::wstring path;
  std::wstring account;
  std::wstring displayName;
  std::wstring description;
  DWORD type = 0;
  DWORD startType = 0;
  DWORD errorControl = 0;
};

// Each test gets a folder of its own with a copy of the executable and of the simulated library,
// laid out as on a player's PC, and a manager that does not know the service. Whatever a test does,
// the service is stopped or killed, its registration deleted and the folder removed at the end.
//
// There is one service of this name in a Windows installation, so tests with this fixture must not
// run side by side: they carry the label "system", which sees to that.
class ServiceFixture : public testing::Test {
 public:
  const std::filesystem::path& folder() const { return folder_; }
  std::filesystem::path executable() const { return folder_ / "OrvaAcceleratorService.exe"; }
  // The library's folder: scenario file and call log. The scenario counts from the library's first
  // call, which is after the start of the service.
  SimulatorFolder& simulator() { return *simulator_; }

  // Runs the executable from a command line.
  ChildResult runService(const std::vector<std::wstring>& arguments) const;

  // Registers the service by its own command word. False fails the test.
  [[nodiscard]] bool install();
  // Starts the registered service through the manager and waits until it runs. False fails the
  // test. It stops itself ten seconds later unless a push client or the host application is there.
  [[nodiscard]] bool start();
  [[nodiscard]] bool installAndStart() { return install() && start(); }
  // Keeps the service from stopping itself: an idle process named Zandor.exe, until the test ends
  // or endHostApplication. False fails the test.
  [[nodiscard]] bool startHostApplication();
  void endHostApplication() { hostApplication_.reset(); }

  // Of the service that start() has started; null and 0 before. The handle stays valid after the
  // process has ended.
  HANDLE process() const { return process_.get(); }
  DWORD processId() const { return processId_; }
  // Watch the process rather than the manager's state: a service that ended without reporting it
  // keeps its last state under Wine.
  bool isRunning() const;
  // The exit code, or nothing if the process still runs when the time is over.
  std::optional<DWORD> waitForEnd(std::chrono::milliseconds limit = kPatience) const;

  // Sends a control. The result is worth little for a stop: the process may end before the manager
  // has its answer.
  DWORD sendControl(DWORD control) const;
  // Sends a stop and waits until the process has ended; nothing when it has not.
  std::optional<DWORD> stop();
  // Whether all threads are gone but one, which only the end of the process brings about, under
  // Wine, which sometimes does not let such a process go: tests/soak/termination_probe.cpp. A test
  // that has failed, and leaves its service in that state, is begun again.
  bool isHeldUpByWine() const;

  // Nothing when the service is not registered or not to be asked.
  static std::optional<SERVICE_STATUS_PROCESS> status();
  static std::optional<Registration> registration();
  // Registers any path under the service's name, by hand.
  static DWORD registerPath(const std::wstring& path, DWORD startType);

 protected:
  ServiceFixture();
  ~ServiceFixture() override;
  void SetUp() override;

  // Ends the process by force if it still runs. Failure to do so fails the test.
  void killService();

 private:
  std::filesystem::path folder_;
  std::unique_ptr<SimulatorFolder> simulator_;
  std::unique_ptr<ChildProcess> hostApplication_;
  win32::UniqueKernelHandle process_;
  DWORD processId_ = 0;
};

}  // namespace orva_accelerator::test
