// Whether others than the system and administrators can change what the service executes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/doctor/finding.h"

namespace orva_accelerator::tools {

// What must not be in others' hands: the content of what is executed or of the folder that it lies
// in; of a folder further above, being renamed, and its children being removed, so that another one
// could stand in its place.
enum class Place { Own, Above, Root };

// Nothing when the owner and whoever may write are in order. `descriptor` is a self-relative one.
std::optional<Finding> accessTrouble(const std::wstring& path, Place place,
                                     std::span<const std::uint8_t> descriptor);

// Looks at the paths, and at the folders above the first of them. What is not there is passed over.
Finding checkWriteAccess(const std::vector<std::wstring>& paths, bool underWine);

}  // namespace orva_accelerator::tools
