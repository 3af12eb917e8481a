// How long the service takes to start.
#pragma once

#include <string>

namespace orva_accelerator::bench {

// Starts the installed service that does not run, through the service control manager, and writes
// `start.json` into the folder: milliseconds until RUNNING is reported, and until the first request
// is answered. Leaves the service running.
void measureServiceStart(const std::wstring& service, const std::string& folder);

}  // namespace orva_accelerator::bench
