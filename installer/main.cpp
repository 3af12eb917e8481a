// usage: OrvaSetupHelper FOLDER
//
// Run by the installer and the uninstaller before they touch the files in FOLDER. Not installed.
// Exit codes: 0 nothing of ours runs any more, 1 the service does not end, 2 usage, 3 an orvactl
// that runs from FOLDER cannot be ended.
//
// A windowed program without a window: a console would flash up.
#include <windows.h>

#include <shellapi.h>

#include <chrono>
#include <string>

#include "installer/folder_release.h"
#include "win32/unique_handle.h"

namespace {

// A stop takes about a second, plus what the library needs to stop an acceleration.
constexpr std::chrono::seconds kServiceLimit{20};
constexpr std::chrono::seconds kToolLimit{5};

int run(const std::wstring& folder) {
  using namespace orva_accelerator::installer;
  if (!stopService(kServiceLimit)) return 1;
  return endTools(folder, kToolLimit) ? 0 : 3;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE /*instance*/, HINSTANCE /*previous*/, PWSTR /*commandLine*/,
                    int /*show*/) {
  int count = 0;
  wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  if (arguments == nullptr) return 2;
  const orva_accelerator::win32::UniqueLocalMemory owner(static_cast<void*>(arguments));
  if (count != 2) return 2;
  return run(arguments[1]);
}
