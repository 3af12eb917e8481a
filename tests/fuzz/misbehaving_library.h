// An acceleration library inside the process that keeps to no contract but that of memory: it
// answers anything, calls back inside its calls, twice, later, or after it has refused, gives texts
// that are not terminated, and lies about the number of its records.
#pragma once

#include <windows.h>

#include <cstdint>

namespace orva_accelerator::fuzz {

// What the library does next follows from the seed alone. Forgets what it could call back.
void seedLibrary(std::uint64_t seed);

// Calls back what an earlier call was given, or does not.
void completeLate();

// One of the library's 101 functions; null for any other name.
FARPROC libraryFunction(const char* name);

}  // namespace orva_accelerator::fuzz
