#include "tools/record_text.h"

#include <algorithm>
#include <vector>

#include "tools/display_width.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kGap[] = "  ";

std::string rows(const Json& record) {
  std::size_t width = 0;
  for (const auto& [name, value] : record.items()) {
    if (!value.is_array()) width = std::max(width, displayWidth(name));
  }
  std::string text;
  for (const auto& [name, value] : record.items()) {
    if (!value.is_array()) text += padded(name, width) + kGap + valueText(value) + "\n";
  }
  return text;
}

std::string alignedLine(const std::vector<std::string>& cells,
                        const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i + 1 == cells.size()) {
      line += cells[i];
    } else {
      line += padded(cells[i], widths[i]) + kGap;
    }
  }
  return line + "\n";
}

std::string table(const Json& entries) {
  if (entries.empty()) return {};
  std::vector<std::vector<std::string>> lines(1);
  for (const auto& [name, value] : entries.front().items()) lines.front().push_back(name);
  for (const Json& entry : entries) {
    lines.emplace_back();
    for (const Json& value : entry) lines.back().push_back(valueText(value));
  }
  std::vector<std::size_t> widths(lines.front().size(), 0);
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      widths[i] = std::max(widths[i], displayWidth(line[i]));
    }
  }
  std::string text = "\n";
  for (const auto& line : lines) text += alignedLine(line, widths);
  return text;
}

}  // namespace

std::string valueText(const Json& value) {
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (!value.is_string()) return oneLine(value);
  const auto& text = value.get_ref<const std::string&>();
  return text.empty() ? "(empty)" : withoutControls(text);
}

std::string recordText(const Json& record) {
  std::string text = rows(record);
  for (const auto& [name, value] : record.items()) {
    if (value.is_array()) text += table(value);
  }
  return text;
}

}  // namespace orva_accelerator::tools
