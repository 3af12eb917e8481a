// The running programs of this computer, as far as replacing files needs to know them.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orva_accelerator::installer {

// Ids of the processes whose image file has this name, in any folder and any letter case. Nothing
// when the system does not tell.
std::optional<std::vector<DWORD>> processesNamed(std::wstring_view imageName);

// The full path of a process's image; empty when it has ended or may not be asked.
std::wstring imagePath(DWORD processId);

// Whether two names are the same to the file system.
bool isSameName(std::wstring_view a, std::wstring_view b);

}  // namespace orva_accelerator::installer
