// Durations as people type them.
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace orva_accelerator::tools {

// "1500", "1500ms", "1.5s", "2s": positive and at most a day; a bare number counts in `bareUnit`.
// Nothing for anything else.
std::optional<std::chrono::milliseconds> parseDuration(std::string_view text,
                                                       std::chrono::milliseconds bareUnit);

}  // namespace orva_accelerator::tools
