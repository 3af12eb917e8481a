#include "tests/fuzz/run_input.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <thread>

#include "tests/fuzz/coverage.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/guarded_bytes.h"
#include "win32/detached_thread.h"

namespace orva_accelerator::fuzz {
namespace {

constexpr int kHangSeconds = 60;

// Looked at when the process is about to end, so none may be on the heap.
std::uint8_t currentInput[kLongestInput];
std::atomic<std::size_t> currentSize{0};
std::atomic<std::uint64_t> runs{0};
char crashPath[MAX_PATH];

void writeCurrentInput() {
  std::FILE* const file = std::fopen(crashPath, "wb");
  if (file == nullptr) return;
  (void)std::fwrite(currentInput, 1, currentSize, file);  // Said below, whether or not it is there.
  (void)std::fclose(file);
  std::printf("the input of %zu bytes is in %s\n", currentSize.load(), crashPath);
}

[[noreturn]] void endAs(UINT code, const char* what) {
  std::printf("%s: %s after %llu runs\n", targetName(), what,
              static_cast<unsigned long long>(runs.load()));
  writeCurrentInput();
  (void)std::fflush(nullptr);  // What cannot be written now cannot be written at all.
  (void)TerminateProcess(GetCurrentProcess(), code);
  std::abort();  // Not reached.
}

LONG WINAPI onFault(EXCEPTION_POINTERS* fault) {
  char what[64];
  (void)std::snprintf(what, sizeof what, "exception 0x%08lX",
                      fault->ExceptionRecord->ExceptionCode);
  endAs(kCrashed, what);
}

void onTerminate() {
  endAs(kCrashed, "an uncaught exception or an abort");
}

void endHungRuns() {
  std::uint64_t before = ~std::uint64_t{0};
  for (;;) {
    std::this_thread::sleep_for(std::chrono::seconds(kHangSeconds));
    if (runs == before) endAs(kHung, "no end");
    before = runs;
  }
}

// Whatever leaves it, ends the process.
void runToItsEnd(std::span<const std::uint8_t> input) noexcept {
  runTarget(input);
}

}  // namespace

bool watchRuns(const std::string& crashFile) {
  if (crashFile.size() >= sizeof crashPath) return false;
  std::memcpy(crashPath, crashFile.c_str(), crashFile.size() + 1);
  (void)SetUnhandledExceptionFilter(onFault);  // Whoever was there before is not asked.
  std::set_terminate(onTerminate);
  win32::startDetachedThread(endHungRuns);
  return true;
}

bool runInput(std::span<const std::uint8_t> input) {
  static GuardedBytes own(kLongestInput, 0);
  input = input.first(std::min(input.size(), kLongestInput));
  std::copy(input.begin(), input.end(), currentInput);
  currentSize = input.size();
  ++runs;
  const auto held = own.hold(input);
  beginRun();
  runToItsEnd(held);
  return endRun();
}

std::uint64_t runCount() {
  return runs;
}

}  // namespace orva_accelerator::fuzz
