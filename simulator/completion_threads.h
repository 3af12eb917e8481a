// The library's own threads, which deliver what was not delivered inside a call.
//
// The library may be freed while something is still due: every thread holds a reference on the
// library and gives it back as its very last act, so the code that it runs cannot be unloaded under
// it, and there is nothing to join. A thread ends once nothing has been due for a while. At the end
// of the process the system ends the threads wherever they are; the state that they share is never
// destroyed, so nothing can trip over that.
#pragma once

#include <chrono>
#include <functional>

namespace orva_accelerator::simulator {

using CompletionClock = std::chrono::steady_clock;

// Runs `task` on one of the library's threads when `due` has come. A task that blocks holds up no
// other: more threads are started as needed.
void runLater(CompletionClock::time_point due, std::function<void()> task);

// Runs `task` on `threads` threads at once, the calling one among them, and returns when all are
// done.
void runTogether(unsigned threads, const std::function<void()>& task);

}  // namespace orva_accelerator::simulator
