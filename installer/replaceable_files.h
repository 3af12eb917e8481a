// Whether the files of an installation can be replaced, asked before anything is changed.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace orva_accelerator::installer {

// The first file below `folder` that somebody keeps in use, so that it could be neither replaced
// nor deleted; empty when there is none. A virus scanner lets go after a moment, so it is asked for
// again for `limitMs`. A real acceleration library is left out: nothing touches it.
std::wstring fileInUse(const std::wstring& folder, DWORD limitMs);

// Whether the disk that `folder` is to lie on has that much room. True when the disk does not tell.
bool hasSpace(const std::wstring& folder, std::uint64_t bytes);

}  // namespace orva_accelerator::installer
