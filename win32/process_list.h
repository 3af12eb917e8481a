// The running programs of this computer.
#pragma once

#include <windows.h>

#include <functional>

namespace orva_accelerator::win32 {

struct RunningProcess {
  DWORD id;
  // The name of its file without the folder, as it is written there; valid during the call.
  const wchar_t* imageName;
};

// Unknown: the list could not be had, or not to its end, and what was wanted was not in what there
// was of it.
enum class ProcessSearch { Found, NotFound, Unknown };

// Asks `wanted` about one running process after the other until it says yes.
ProcessSearch findProcess(const std::function<bool(const RunningProcess&)>& wanted);

}  // namespace orva_accelerator::win32
