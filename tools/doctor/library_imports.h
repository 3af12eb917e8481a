// Whether what a library needs to be loaded is there.
#pragma once

#include <string>
#include <vector>

#include "tools/doctor/pe_image.h"

namespace orva_accelerator::tools {

// Empty when everything is found; otherwise what is missing, as the end of the sentence "it needs".
// `folders` are those that come before the system's; libraries in them are looked at in turn. As
// the service loads its library: neither the working directory nor the PATH is searched.
std::string importTrouble(const PeImage& library, const std::vector<std::wstring>& folders);

}  // namespace orva_accelerator::tools
