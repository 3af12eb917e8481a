#include "tools/duration.h"

#include <charconv>
#include <cmath>

namespace orva_accelerator::tools {

std::optional<std::chrono::milliseconds> parseDuration(std::string_view text,
                                                       std::chrono::milliseconds bareUnit) {
  auto factor = static_cast<double>(bareUnit.count());
  if (text.ends_with("ms")) {
    factor = 1;
    text.remove_suffix(2);
  } else if (text.ends_with("s")) {
    factor = 1000;
    text.remove_suffix(1);
  }
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc() || stopped != end) return std::nullopt;
  const double milliseconds = std::round(number * factor);
  constexpr double kDay = 24.0 * 60 * 60 * 1000;
  // What is not a number passes no comparison, so this must not be turned round.
  // NOLINTNEXTLINE(readability-simplify-boolean-expr)
  if (!(milliseconds >= 1 && milliseconds <= kDay)) return std::nullopt;
  return std::chrono::milliseconds(static_cast<long long>(milliseconds));
}

}  // namespace orva_accelerator::tools
