// Waiting for something that another thread or process brings about.
#pragma once

#include <chrono>
#include <functional>

namespace orva_accelerator::test {

// Generous: it decides how long a broken test takes to fail, never whether a sound one passes.
inline constexpr std::chrono::milliseconds kPatience{10'000};

// Asks `condition` again and again until it is true (then true at once) or `limit` has passed
// (then what a last question answers).
[[nodiscard]] bool waitUntil(const std::function<bool()>& condition,
                             std::chrono::milliseconds limit = kPatience);

}  // namespace orva_accelerator::test
