// The main function of every test executable.
//
// Tests start servers whose threads block in pipe calls for ever and cannot be joined. Returning
// from main would run the destructors of static objects beside those threads, some of which use
// them, and would detach DLLs while killed threads may hold locks. So the process ends here and
// now, with everything that was printed flushed.
//
// A narrow main, although the service's entry point is a wide one: the C runtime chooses between
// them by how the program is linked, so that a test may link code that contains wmain.
#include <gmock/gmock.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/support/another_run.h"

// Tells scripts/wine.sh how far the program has come. A file that is not there: Wine has not begun
// the program. An empty one: what fails from here on is ours. The exit code, or why it means
// nothing: all is over, and how Wine then ends the process is not ours any more.
static void report(const std::string& path, const std::string& progress) {
  if (path.empty()) return;
  // Whoever waits for a report that cannot be written takes the exit code that there is.
  std::ofstream(path, std::ios::trunc) << progress;
}

// Where to report; not to be found by the programs that this one starts, which are not asked for.
static std::string takeReportPath() {
  const char* const value = std::getenv("ORVA_REACHED_FILE");
  const std::string path = value == nullptr ? "" : value;
  (void)_putenv("ORVA_REACHED_FILE=");  // What is still there then only reports too much.
  return path;
}

int main(int argc, char** argv) {
  const std::string reportPath = takeReportPath();
  report(reportPath, "");
  // Failed loads and crashes must end a test, not wait for somebody to press a button.
  (void)SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  testing::InitGoogleMock(&argc, argv);
  const int result = RUN_ALL_TESTS();
  (void)std::fflush(nullptr);  // What cannot be written now cannot be written at all.
  const std::string again = orva_accelerator::test::reasonForAnotherRun();
  report(reportPath, again.empty() ? std::to_string(result) : "again: " + again);
  (void)TerminateProcess(GetCurrentProcess(), static_cast<UINT>(result));
  return result;
}
