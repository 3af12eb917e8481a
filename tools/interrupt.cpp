#include "tools/interrupt.h"

namespace orva_accelerator::tools {
namespace {

HANDLE g_interrupt = nullptr;  // Written before the handler that reads it is installed.

BOOL WINAPI OnConsoleControl(DWORD control) {
  if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT) return FALSE;
  if (Interrupted(g_interrupt)) return FALSE;
  return SetEvent(g_interrupt);
}

HANDLE Install() {
  g_interrupt = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (g_interrupt == nullptr) return nullptr;
  return SetConsoleCtrlHandler(OnConsoleControl, TRUE) ? g_interrupt : nullptr;
}

}  // namespace

HANDLE InterruptEvent() {
  static const HANDLE event = Install();
  return event;
}

bool Interrupted(HANDLE event) {
  return event != nullptr && WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

}  // namespace orva_accelerator::tools
