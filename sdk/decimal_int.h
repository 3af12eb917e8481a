// Decimal text to int, with error texts that do not depend on the standard library in use.
#pragma once

#include <string>

namespace orva_accelerator::sdk {

// Skips leading white space, reads an optional sign and decimal digits, and ignores what follows.
// Throws std::invalid_argument("invalid stoi argument") when there is no digit to begin with, and
// std::out_of_range("stoi argument out of range") for a value that does not fit 32 bits.
//
// std::stoi does the same, but its texts differ from one standard library to the next.
int ParseDecimalInt(const std::wstring& text);

}  // namespace orva_accelerator::sdk
