// Which file a process executes.
#pragma once

#include <windows.h>

#include <string>

namespace orva_accelerator::win32 {

// The full path of a process's file; empty when it has ended or may not be asked by this account.
std::wstring imagePathOf(DWORD processId);

}  // namespace orva_accelerator::win32
