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

#ifdef ORVA_COVERAGE
extern "C" void __gcov_dump();
#endif

// Tells scripts/wine.sh that Wine has begun the program: whatever fails from here on is ours.
static void reportReached() {
  const char* const path = std::getenv("ORVA_REACHED_FILE");
  if (path == nullptr) return;
  if (std::FILE* const file = std::fopen(path, "w")) (void)std::fclose(file);  // Empty either way.
}

int main(int argc, char** argv) {
  reportReached();
  // Failed loads and crashes must end a test, not wait for somebody to press a button.
  (void)SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  testing::InitGoogleMock(&argc, argv);
  const int result = RUN_ALL_TESTS();
#ifdef ORVA_COVERAGE
  __gcov_dump();
#endif
  (void)std::fflush(nullptr);  // What cannot be written now cannot be written at all.
  (void)TerminateProcess(GetCurrentProcess(), static_cast<UINT>(result));
  return result;
}
