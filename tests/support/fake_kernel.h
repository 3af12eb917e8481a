// A stand-in for the acceleration library inside the test process: the loader gets a module of ours
// whose 101 functions record what they are called with and do what the test wants.
//
//   FakeKernel kernel;
//   kernel.Kernel_GetConsoleData = [](sdk::ConsoleDataRecord* record) { record->console1 = 7;
//   return 1; };
//   ... code under test ...
//   EXPECT_THAT(kernel.calls(), testing::ElementsAre("Kernel_GetConsoleData()"));
//
// Reaches everything in this executable that loads the library; one FakeKernel at a time. Other
// modules are loaded as ever. Make it before the code under test runs, and make the next one only
// in another process (or release the binding), since a loaded module stays loaded.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "sdk/kernel_api.h"
#include "tests/support/import_patch.h"
#include "tests/support/spin_lock.h"

namespace orva_accelerator::test {

class FakeKernel {
 public:
  FakeKernel();
  FakeKernel(const FakeKernel&) = delete;
  FakeKernel& operator=(const FakeKernel&) = delete;
  ~FakeKernel();

  // What each function that the service calls does, by its name; set it while nobody can be
  // calling. By default the library accepts initialisation, login, start and stop, completes
  // nothing by itself, and refuses every query.
#define ORVA_SCRIPT(name, ...) std::function<std::remove_pointer_t<sdk::signature::name>> name;
  ORVA_CALLED_KERNEL_FUNCTIONS(ORVA_SCRIPT)
#undef ORVA_SCRIPT

  // The next loads fail with this error; 0 for success again.
  void failLoading(DWORD error);
  // The module has no such function any more.
  void remove(const std::string& function);

  // The calls so far, in order, one line each: the name, then in parentheses the arguments that
  // carry information. Texts in quotes and UTF-8, numbers in decimal, a null text as null. Records
  // are left out, contexts too. For list functions the last argument is the count on entry, the one
  // before it "null" or "array".
  std::vector<std::string> calls() const;
  void clearCalls();
  // What the loader was asked for, in order.
  std::vector<std::wstring> loadedPaths() const;
  std::vector<std::string> lookedUpFunctions() const;
  std::size_t freeCount() const;
  HMODULE module() const;

  // What the service handed to the last login, stop or start, accepted or not; null before.
  sdk::KernelCodeCompletion loginCompletion() const;
  sdk::KernelCodeCompletion stopCompletion() const;
  sdk::KernelAccelCompletion accelCompletion() const;
  void* accelContext() const;

 private:
  friend struct FakeKernelFunctions;

  void record(std::string call);

  HMODULE load(const wchar_t* path);
  FARPROC lookUp(HMODULE module, const char* function);
  BOOL release(HMODULE module);

  mutable SpinLock lock_;  // Guards everything below.
  DWORD loadError_ = 0;
  std::set<std::string> removed_;
  std::vector<std::string> calls_;
  std::vector<std::wstring> loadedPaths_;
  std::vector<std::string> lookedUpFunctions_;
  std::size_t freeCount_ = 0;
  sdk::KernelCodeCompletion loginCompletion_ = nullptr;
  sdk::KernelCodeCompletion stopCompletion_ = nullptr;
  sdk::KernelAccelCompletion accelCompletion_ = nullptr;
  void* accelContext_ = nullptr;

  ImportHook<HMODULE(LPCWSTR)> loadLibrary_;
  ImportHook<FARPROC(HMODULE, LPCSTR)> getProcAddress_;
  ImportHook<BOOL(HMODULE)> freeLibrary_;
};

}  // namespace orva_accelerator::test
