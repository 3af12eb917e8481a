// The service's registered path has no quotation marks, so Windows takes each blank in it for the
// possible end of the program's name: for C:\Program Files\Orva\X.exe it tries C:\Program.exe
// first.
#pragma once

#include <string>
#include <vector>

namespace orva_accelerator::installer {

// What Windows would start in place of `path` if it were there, in the order in which it looks.
std::vector<std::wstring> shadowingPaths(const std::wstring& path);

// The first of them that is there; empty when none is.
std::wstring shadowingProgram(const std::wstring& path);

}  // namespace orva_accelerator::installer
