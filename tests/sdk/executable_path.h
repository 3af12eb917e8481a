// Where the process believes its own executable to be.
#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <utility>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {

// The system's answer for the process's own executable is `path`, cut to the caller's buffer and
// without a terminator then, which is the least that any version of the system promises. Questions
// for other modules get their usual answers.
class ExecutablePath {
 public:
  explicit ExecutablePath(std::wstring path) : path_(std::move(path)) {
    hook_.replace([this](HMODULE module, LPWSTR buffer, DWORD size) -> DWORD {
      if (module != nullptr) return hook_.callOriginal(module, buffer, size);
      bufferWasZeroed_ = std::all_of(buffer, buffer + size, [](wchar_t unit) { return unit == 0; });
      const std::size_t copied = std::min<std::size_t>(path_.size(), size);
      std::copy_n(path_.begin(), copied, buffer);
      if (copied < size) buffer[copied] = L'\0';
      SetLastError(path_.size() < size ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
      return static_cast<DWORD>(copied);
    });
  }

  const ImportHook<decltype(GetModuleFileNameW)>& calls() const { return hook_; }
  bool bufferWasZeroed() const { return bufferWasZeroed_; }

 private:
  std::wstring path_;
  bool bufferWasZeroed_ = false;
  ImportHook<decltype(GetModuleFileNameW)> hook_{"kernel32.dll", "GetModuleFileNameW"};
};

}  // namespace orva_accelerator::test
