// Many connections that ask the same question over and over.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "client/error.h"
#include "tools/context.h"
#include "tools/latency_histogram.h"

namespace orva_accelerator::tools {

struct LoadPlan {
  std::uint32_t connections = 4;
  std::chrono::milliseconds duration{5000};
  std::uint32_t type = 0;
  std::size_t payloadBytes = 0;  // Zeros.
};

struct LoadOutcome {
  LatencyHistogram latencies;  // Of the requests that were answered.
  std::uint32_t failedConnections = 0;
  std::optional<client::Error> firstError;
  std::chrono::milliseconds elapsed{0};
  bool interrupted = false;
};

// Runs until the time is over, every connection has failed, or `interrupt` (borrowed, may be null)
// is signalled; requests under way are finished first. A connection that fails is not replaced.
// `progress` gets the time and the number of answers about once a second, on the caller's thread.
LoadOutcome runLoad(Context& context, const LoadPlan& plan, HANDLE interrupt,
                    const std::function<void(std::chrono::milliseconds, std::uint64_t)>& progress);

}  // namespace orva_accelerator::tools
