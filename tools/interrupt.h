// Ctrl+C and Ctrl+Break as an event that waits can include.
#pragma once

#include <windows.h>

#include <chrono>

namespace orva_accelerator::tools {

// From the first call on, the first Ctrl+C signals the event instead of ending the process; a
// second one ends it. Null if the system refuses either; the default behaviour is kept then.
// Borrowed; lives until the process ends, because the system calls the handler from a thread of its
// own at any time.
HANDLE interruptEvent();

bool interrupted(HANDLE event);

// Sleeps, without an event too. True as soon as Ctrl+C comes.
bool interruptedWithin(HANDLE event, std::chrono::milliseconds time);

}  // namespace orva_accelerator::tools
