// Answers for people: aligned rows and tables.
#pragma once

#include <string>

#include "tools/records.h"

namespace orva_accelerator::tools {

// A single value: yes or no for a flag, "(empty)" for an empty text, control characters escaped.
std::string valueText(const Json& value);

// One row a field, names and values in columns; a field that is a list of objects becomes a table
// below the rows.
std::string recordText(const Json& record);

}  // namespace orva_accelerator::tools
