#include "tools/interrupt.h"

namespace orva_accelerator::tools {
namespace {

HANDLE interruptEventHandle = nullptr;  // Written before the handler that reads it is installed.

BOOL WINAPI onConsoleControl(DWORD control) {
  if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT) return FALSE;
  if (interrupted(interruptEventHandle)) return FALSE;
  return SetEvent(interruptEventHandle);
}

HANDLE install() {
  interruptEventHandle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (interruptEventHandle == nullptr) return nullptr;
  return SetConsoleCtrlHandler(onConsoleControl, TRUE) ? interruptEventHandle : nullptr;
}

}  // namespace

HANDLE interruptEvent() {
  static const HANDLE event = install();
  return event;
}

bool interrupted(HANDLE event) {
  return event != nullptr && WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

bool interruptedWithin(HANDLE event, std::chrono::milliseconds time) {
  const auto duration = static_cast<DWORD>(time.count());  // At most a day.
  if (event != nullptr) return WaitForSingleObject(event, duration) == WAIT_OBJECT_0;
  Sleep(duration);
  return false;
}

}  // namespace orva_accelerator::tools
