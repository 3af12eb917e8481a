// How long the service takes to start, and what it holds when nobody uses it, beside a service that
// does nothing.
#pragma once

#include <string>

namespace orva_accelerator::bench {

// Starts and stops the installed service and the empty one in turns, through the service control
// manager, `repeats` times, and writes `start.json` into the folder: milliseconds of each start
// until RUNNING is reported and, for the service, until the first request is answered. Installs the
// empty service from `emptyPath`. Leaves both running.
void measureServiceStarts(const std::wstring& service, const std::wstring& emptyPath, int repeats,
                          const std::string& folder);

// Writes how many handles each of the two running services holds to `handles.json`.
void countServiceHandles(const std::wstring& service, const std::string& folder);

}  // namespace orva_accelerator::bench
