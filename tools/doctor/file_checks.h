// The registered executable and what must lie beside it.
#pragma once

#include <string>

#include "tools/doctor/finding.h"

namespace orva_accelerator::tools {

// There, a 64-bit program, and the service rather than any other one.
Finding checkExecutable(const std::wstring& file);

// Where the service that lies in `folder` takes its library from.
std::wstring libraryBelow(const std::wstring& folder);

// The library of the service that lies in `folder`: there, for 64 bits, with every library that it
// needs and every function that the service resolves.
Finding checkLibrary(const std::wstring& folder);

// Of the service, the library, this program and Windows.
Finding checkVersions(const std::wstring& executable, const std::wstring& library);

}  // namespace orva_accelerator::tools
