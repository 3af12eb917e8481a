// Text as it is kept in the source, as Windows wants it.
#pragma once

#include <string>

namespace orva_accelerator::service {

// Empty for null, for an empty text and for one that the system cannot convert.
std::wstring utf8ToWide(const char* text);

}  // namespace orva_accelerator::service
