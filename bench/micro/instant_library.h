// An acceleration library inside this process whose functions answer at once.
#pragma once

#include <string>

namespace orva_accelerator::bench {

// What it answers with from now on: every text is the same, and lists have so many records.
struct LibraryAnswers {
  std::wstring text;
  unsigned usedNodes = 1;
};
void setLibraryAnswers(const LibraryAnswers& answers);

// Puts its functions into the service's table and marks the binding as initialised. The loader is
// given this program's own module in place of the library's.
void useInstantLibrary();

}  // namespace orva_accelerator::bench
