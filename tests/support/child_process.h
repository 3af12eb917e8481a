// Programs that a test starts: captured, waited for with a limit, and never left behind.
#pragma once

#include <windows.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/bounded_wait.h"
#include "win32/unique_handle.h"

namespace orva_accelerator::test {

// The folder of the running test executable, without a trailing separator.
std::wstring testFolder();
// A program or file of the shipped layout ("orvactl.exe"), one folder above the tests.
std::wstring shippedFile(std::wstring_view relativePath);

// Starts in the constructor; the destructor kills the process, and what it started itself, if they
// still run. Standard input is empty. One thread at a time.
class ChildProcess {
 public:
  // `arguments` without the program's name; each arrives in the child's argv as it is. `folder` is
  // the working directory, this process's own if empty.
  explicit ChildProcess(const std::wstring& program,
                        const std::vector<std::wstring>& arguments = {},
                        const std::wstring& folder = {});
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  // 0, or why the program could not be started; every other member is then useless but harmless.
  DWORD startError() const { return startError_; }
  DWORD id() const { return id_; }
  HANDLE handle() const { return process_.get(); }

  // The exit code, or nothing if it still runs when the time is over. An exit code is all 32 bits:
  // 0xFFFFFFFF for exit(-1), 0xC0000005 for an access violation.
  std::optional<DWORD> wait(std::chrono::milliseconds limit = kPatience);

  // What it has written so far, as bytes.
  std::string output() const;
  std::string errors() const;
  // True as soon as `text` has appeared in the output.
  [[nodiscard]] bool waitForOutput(std::string_view text,
                                   std::chrono::milliseconds limit = kPatience);

  // Ends it now, with all it started, and waits until it is gone.
  void kill();

 private:
  DWORD startError_ = 0;
  DWORD id_ = 0;
  std::wstring outputFile_;
  std::wstring errorFile_;
  win32::UniqueKernelHandle job_;
  win32::UniqueKernelHandle process_;
};

struct ChildResult {
  std::optional<DWORD> exitCode;  // Nothing if it could not be started or did not end in time.
  std::string output;
  std::string errors;  // Or why it could not be started.
};

// Starts a program and waits for its end.
ChildResult runChild(const std::wstring& program, const std::vector<std::wstring>& arguments = {},
                     std::chrono::milliseconds limit = std::chrono::seconds(30));

}  // namespace orva_accelerator::test
