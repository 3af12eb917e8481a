// The registered executable and what must lie beside it.
#pragma once

#include <string>
#include <vector>

#include "tools/doctor/finding.h"

namespace orva_accelerator::tools {

// There, a 64-bit program, and the service rather than any other one.
Finding checkExecutable(const std::wstring& file);

// Where the service that lies in `folder` takes its library from.
std::wstring libraryBelow(const std::wstring& folder);

// There, a 64-bit library, and with every function that the service resolves.
Finding checkLibrary(const std::wstring& file);

// Whether ordinary users can change what the service executes. Files and folders that are not there
// are passed over.
Finding checkWriteAccess(const std::vector<std::wstring>& paths, bool underWine);

}  // namespace orva_accelerator::tools
