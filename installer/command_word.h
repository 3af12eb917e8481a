// Runs the service's executable with one of its command words.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace orva_accelerator::installer {

// Returns the exit code, or nothing when the program cannot be started or does not end within
// `limitMs`; it is then ended.
std::optional<DWORD> runCommandWord(const std::wstring& program, const std::wstring& word,
                                    DWORD limitMs);

}  // namespace orva_accelerator::installer
