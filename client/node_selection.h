// The text by which a start request chooses its nodes.
#pragma once

#include <string_view>

namespace orva_accelerator::client {

// True for "" and "auto" (the library chooses) and for decimal signed 32-bit integers separated by
// ';', empty pieces allowed. The service ends itself, for all its clients, over a piece that is no
// such number; ask here before sending what a person typed.
bool isSafeNodeSelection(std::string_view text);

}  // namespace orva_accelerator::client
