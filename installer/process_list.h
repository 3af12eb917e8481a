// The running programs of this computer, as far as replacing files needs to know them.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orva_accelerator::installer {

// Whether two names are the same to the file system.
bool isSameName(std::wstring_view a, std::wstring_view b);

// The full path of a process's image; empty when it has ended or may not be asked.
std::wstring imagePath(HANDLE process);

// Ends the programs that run from `folder` or below it: orvactl, which loses nothing by it, and a
// service executable that somebody has started by hand. Call it when the service itself has ended.
// False when one is still there after `limitMs`.
bool endProgramsIn(const std::wstring& folder, DWORD limitMs);

}  // namespace orva_accelerator::installer
