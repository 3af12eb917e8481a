#include "tests/support/fake_kernel.h"

#include <gtest/gtest.h>

#include <string_view>

#include "tests/support/fake_kernel_functions.h"

namespace orva_accelerator::test {
namespace {

using sdk::KernelBool;

// Its address serves as module handle: nothing else has it.
char moduleAnchor;

HMODULE fakeModule() {
  return reinterpret_cast<HMODULE>(&moduleAnchor);
}

constexpr std::wstring_view kLibraryName = L"OpenKernel.dll";

}  // namespace

FakeKernel::FakeKernel()
    : Kernel_Init([](auto...) { return KernelBool{1}; }),
      Kernel_SetSdkChannelNumber([](auto...) { return KernelBool{1}; }),
      Kernel_UserLoginFromAccount([](auto...) { return KernelBool{1}; }),
      Kernel_StartAccel([](auto...) { return KernelBool{1}; }),
      Kernel_StartAccelEx([](auto...) { return KernelBool{1}; }),
      Kernel_StopAccel([](auto...) { return KernelBool{1}; }),
      loadLibrary_("kernel32.dll", "LoadLibraryW"),
      getProcAddress_("kernel32.dll", "GetProcAddress"),
      freeLibrary_("kernel32.dll", "FreeLibrary") {
  EXPECT_EQ(currentFakeKernel(), nullptr) << "one FakeKernel at a time";
  setCurrentFakeKernel(this);
  loadLibrary_.replace([this](LPCWSTR path) { return load(path); });
  getProcAddress_.replace(
      [this](HMODULE module, LPCSTR function) { return lookUp(module, function); });
  freeLibrary_.replace([this](HMODULE module) { return release(module); });
}

FakeKernel::~FakeKernel() {
  setCurrentFakeKernel(nullptr);
}

HMODULE FakeKernel::load(const wchar_t* path) {
  if (!std::wstring_view(path).ends_with(kLibraryName)) return loadLibrary_.callOriginal(path);
  DWORD error = 0;
  {
    std::wstring copy(path);
    const SpinGuard guard(lock_);
    loadedPaths_.push_back(std::move(copy));
    error = loadError_;
  }
  if (error == 0) return fakeModule();
  SetLastError(error);
  return nullptr;
}

FARPROC FakeKernel::lookUp(HMODULE module, const char* function) {
  if (module != fakeModule()) return getProcAddress_.callOriginal(module, function);
  FARPROC found = fakeKernelFunction(function);
  {
    std::string copy(function);
    const SpinGuard guard(lock_);
    if (removed_.contains(copy)) found = nullptr;
    lookedUpFunctions_.push_back(std::move(copy));
  }
  if (found == nullptr) SetLastError(ERROR_PROC_NOT_FOUND);
  return found;
}

BOOL FakeKernel::release(HMODULE module) {
  if (module != fakeModule()) return freeLibrary_.callOriginal(module);
  const SpinGuard guard(lock_);
  ++freeCount_;
  return TRUE;
}

void FakeKernel::failLoading(DWORD error) {
  const SpinGuard guard(lock_);
  loadError_ = error;
}

void FakeKernel::remove(const std::string& function) {
  const SpinGuard guard(lock_);
  removed_.insert(function);
}

void FakeKernel::record(std::string call) {
  const SpinGuard guard(lock_);
  calls_.push_back(std::move(call));
}

std::vector<std::string> FakeKernel::calls() const {
  const SpinGuard guard(lock_);
  return calls_;
}

void FakeKernel::clearCalls() {
  const SpinGuard guard(lock_);
  calls_.clear();
}

std::vector<std::wstring> FakeKernel::loadedPaths() const {
  const SpinGuard guard(lock_);
  return loadedPaths_;
}

std::vector<std::string> FakeKernel::lookedUpFunctions() const {
  const SpinGuard guard(lock_);
  return lookedUpFunctions_;
}

std::size_t FakeKernel::freeCount() const {
  const SpinGuard guard(lock_);
  return freeCount_;
}

HMODULE FakeKernel::module() const {
  return fakeModule();
}

sdk::KernelCodeCompletion FakeKernel::loginCompletion() const {
  const SpinGuard guard(lock_);
  return loginCompletion_;
}

sdk::KernelCodeCompletion FakeKernel::stopCompletion() const {
  const SpinGuard guard(lock_);
  return stopCompletion_;
}

sdk::KernelAccelCompletion FakeKernel::accelCompletion() const {
  const SpinGuard guard(lock_);
  return accelCompletion_;
}

void* FakeKernel::accelContext() const {
  const SpinGuard guard(lock_);
  return accelContext_;
}

}  // namespace orva_accelerator::test
