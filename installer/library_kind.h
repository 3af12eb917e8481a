// Tells the simulated acceleration library from a real one, which is the integrator's.
#pragma once

#include <string>

namespace orva_accelerator::installer {

enum class LibraryKind { None, Simulated, Real };

// accel_sdk\sdk_x64\OpenKernel.dll below the folder of the installation.
std::wstring libraryIn(const std::wstring& folder);

// By its version resource, which ours has; a file without one, or that cannot be read, is real.
LibraryKind libraryKind(const std::wstring& library);

// Deletes the library if it is the simulated one, with what it is told by and what it has written
// beside it. False when it is simulated and still there.
bool removeSimulatedLibrary(const std::wstring& folder);

// Removes the folders of the library and the folder of the installation, as far as they are empty.
void removeEmptyFolders(const std::wstring& folder);

}  // namespace orva_accelerator::installer
