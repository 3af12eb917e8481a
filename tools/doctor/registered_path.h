// The path under which an executable is registered as a service.
#pragma once

#include <string>
#include <string_view>

#include "tools/doctor/finding.h"

namespace orva_accelerator::tools {

struct RegisteredPath {
  std::wstring file;  // Without quotes, arguments and the prefix \\?\.
  std::wstring arguments;
  bool quoted = false;
  bool prefixed = false;
};

// Without quotes, the path ends behind the first ".exe" that a blank or the end follows; without
// any, everything is path.
RegisteredPath parseRegisteredPath(const std::wstring& registered);

std::wstring folderOf(const std::wstring& file);

// How it is written: quotes, prefix, blanks, length. `programFiles` are folders in which only
// administrators create files.
Finding checkSpelling(const RegisteredPath& path, const std::vector<std::wstring>& programFiles);

// As the system compares paths and program names.
bool equalIgnoringCase(std::wstring_view a, std::wstring_view b);

// Those of this PC.
std::vector<std::wstring> programFilesFolders();

}  // namespace orva_accelerator::tools
