// In the coverage build, a part of every program and library: sees to it that no process ends
// without its counters having been written.
//
// Left alone, they are written by the destructors of a program that returns from main. The service
// never does, and a test ends itself without destructors; both end in TerminateProcess, whose
// import the linker redirects to here. Several processes add to the same files, hence the lock.
#include <windows.h>

#include <psapi.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iterator>

using Terminate = BOOL(WINAPI*)(HANDLE process, UINT exitCode);

extern "C" {
void __gcov_dump();
extern IMAGE_DOS_HEADER __ImageBase;  // Of this module.
extern const Terminate __real___imp_TerminateProcess;
}

namespace {

constexpr char kSection[] = ".orvacov";

// Another process may write for as long as it needs; it gives the lock back even when it is killed.
class FileLock {
 public:
  FileLock()
      : file_(CreateFileA(ORVA_COVERAGE_LOCK, GENERIC_READ | GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr)) {
    OVERLAPPED start = {};
    locked_ = file_ != INVALID_HANDLE_VALUE &&
              LockFileEx(file_, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &start);
  }
  ~FileLock() {
    if (locked_) (void)UnlockFile(file_, 0, 0, 1, 0);  // Closing does the same.
    if (file_ != INVALID_HANDLE_VALUE) (void)CloseHandle(file_);
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  HANDLE file_;
  bool locked_ = false;
};

// A module's counters are its own, and only its own code can write them. It writes them once.
void writeOwnCounters() {
  const FileLock lock;
  __gcov_dump();
}

// Where other modules of the process find this one's function, without an export of it.
using Write = void (*)();
__attribute__((section(".orvacov"), used)) const volatile Write ownWrite = &writeOwnCounters;

Write writerOf(HMODULE module) {
  const auto* const base = reinterpret_cast<const char*>(module);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(headers);
  for (WORD left = headers->FileHeader.NumberOfSections; left > 0; --left, ++section) {
    if (std::memcmp(section->Name, kSection, sizeof(section->Name)) == 0) {
      return *reinterpret_cast<const volatile Write*>(base + section->VirtualAddress);
    }
  }
  return nullptr;
}

void writeAllCounters() {
  HMODULE modules[256] = {};
  DWORD size = 0;
  if (!K32EnumProcessModules(GetCurrentProcess(), modules, sizeof(modules), &size)) return;
  const DWORD count = size / static_cast<DWORD>(sizeof(HMODULE));
  for (DWORD i = 0; i < count && i < std::size(modules); ++i) {
    if (const Write write = writerOf(modules[i])) write();
  }
}

void onAbort(int /*signal*/) {
  writeAllCounters();
}

LPTOP_LEVEL_EXCEPTION_FILTER earlierFilter = nullptr;

LONG WINAPI onFault(EXCEPTION_POINTERS* pointers) {
  writeAllCounters();
  return earlierFilter != nullptr ? earlierFilter(pointers) : EXCEPTION_CONTINUE_SEARCH;
}

BOOL WINAPI terminateProcess(HANDLE process, UINT exitCode) {
  if (GetProcessId(process) == GetCurrentProcessId()) writeAllCounters();
  return __real___imp_TerminateProcess(process, exitCode);
}

}  // namespace

extern "C" {

// In the place of the import.
extern const Terminate __wrap___imp_TerminateProcess;
const Terminate __wrap___imp_TerminateProcess = &terminateProcess;

// Names this file for the linker, which would leave it out of what nobody asks for.
extern int orvaCoverageCounters;
int orvaCoverageCounters = 0;
}

namespace {

struct Installed {
  Installed() {
    // The files are named as the compiler saw them; a service starts on another drive.
    (void)_putenv("GCOV_PREFIX=" ORVA_COVERAGE_PREFIX);
    (void)std::signal(SIGABRT, onAbort);
    // That of a library would outlive it.
    if (reinterpret_cast<HMODULE>(&__ImageBase) == GetModuleHandleW(nullptr)) {
      earlierFilter = SetUnhandledExceptionFilter(onFault);
    }
  }
  // Before the destructors that would write without the lock: at exit, or when a library is
  // unloaded.
  ~Installed() { writeOwnCounters(); }
};

const Installed installed;

}  // namespace
