// The "catalogue" section of a scenario file.
#pragma once

#include "simulator/catalogue.h"
#include "simulator/json_object.h"

namespace orva_accelerator::simulator {

// Changes `catalogue` as the section says.
void readCatalogue(const Json& section, const std::string& path, Catalogue& catalogue);

}  // namespace orva_accelerator::simulator
