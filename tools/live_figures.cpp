#include "tools/live_figures.h"

#include <algorithm>
#include <utility>

#include "tools/display_width.h"
#include "tools/record_text.h"

namespace orva_accelerator::tools {
namespace {

constexpr std::size_t kNameWidth = 7;         // "value10".
constexpr std::size_t kLeastValueWidth = 12;  // So that the trends do not jump at every digit.

}  // namespace

void LiveFigures::add(Json figures) {
  latest_ = std::move(figures);
  for (const auto& [name, value] : latest_.items()) {
    if (value.is_number_unsigned()) trends_[name].add(value.get<std::uint64_t>());
  }
}

std::string LiveFigures::text() const {
  std::size_t width = kLeastValueWidth;
  for (const Json& value : latest_) {
    if (value.is_number()) width = std::max(width, displayWidth(valueText(value)));
  }
  std::string text;
  for (const auto& [name, value] : latest_.items()) {
    text += padded(name, kNameWidth) + "  ";
    const auto trend = trends_.find(name);
    const std::string line = trend == trends_.end() ? std::string() : trend->second.line();
    text += line.empty() ? valueText(value) : padded(valueText(value), width) + "  " + line;
    text += "\n";
  }
  return text;
}

}  // namespace orva_accelerator::tools
