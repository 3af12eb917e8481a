// Finding a running program by the name of its file.
#pragma once

#include <string>

namespace orva_accelerator::ipc {

// True if a process whose executable file is called `imageName` (a bare file name with extension)
// exists now, whatever the case of its letters. False when the processes cannot be listed.
bool FindProcessByName(const std::wstring& imageName);

}  // namespace orva_accelerator::ipc
