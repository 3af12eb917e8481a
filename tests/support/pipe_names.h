// Names for the pipes of a test.
#pragma once

#include <windows.h>

#include <atomic>
#include <string>
#include <string_view>

namespace orva_accelerator::test {

// A full pipe name that no other process uses and that this process gets only once.
inline std::wstring uniquePipeName(std::wstring_view purpose) {
  static std::atomic<unsigned> count{0};
  return L"\\\\.\\pipe\\OrvaTest_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
         std::to_wstring(++count) + L"_" + std::wstring(purpose);
}

}  // namespace orva_accelerator::test
