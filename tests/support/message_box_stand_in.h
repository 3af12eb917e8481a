// Takes the place of the system's message box where the code under test looks it up, so that no
// test waits for somebody to close one. Make it after a FakeKernel, which answers lookups as well.
#pragma once

#include <windows.h>

#include <functional>
#include <string_view>
#include <utility>

#include "tests/support/import_patch.h"

namespace orva_accelerator::test {

class MessageBoxStandIn {
 public:
  // What showing a box does; null: user32.dll has no such function.
  explicit MessageBoxStandIn(std::function<decltype(MessageBoxA)> show) {
    *show_ = std::move(show);
    lookUp_.replace([this](HMODULE module, LPCSTR function) -> FARPROC {
      if (module != GetModuleHandleW(L"user32.dll") ||
          std::string_view(function) != "MessageBoxA") {
        return lookUp_.callOriginal(module, function);
      }
      if (!*show_) return nullptr;
      return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&showNow));
    });
  }

 private:
  static int WINAPI showNow(HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
    return (*show_)(owner, text, caption, style);
  }

  // Never destroyed: the process may end inside a box.
  static inline auto* const show_ = new std::function<decltype(MessageBoxA)>;
  ImportHook<FARPROC(HMODULE, LPCSTR)> lookUp_{"kernel32.dll", "GetProcAddress"};
};

}  // namespace orva_accelerator::test
