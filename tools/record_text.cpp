#include "tools/record_text.h"

#include <algorithm>
#include <vector>

#include "tools/display_width.h"

namespace orva_accelerator::tools {
namespace {

constexpr char kGap[] = "  ";

std::string Rows(const Json& record) {
  std::size_t width = 0;
  for (const auto& [name, value] : record.items()) {
    if (!value.is_array()) width = std::max(width, DisplayWidth(name));
  }
  std::string text;
  for (const auto& [name, value] : record.items()) {
    if (!value.is_array()) text += Padded(name, width) + kGap + ValueText(value) + "\n";
  }
  return text;
}

std::string Line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i + 1 == cells.size()) {
      line += cells[i];
    } else {
      line += Padded(cells[i], widths[i]) + kGap;
    }
  }
  return line + "\n";
}

std::string Table(const Json& entries) {
  if (entries.empty()) return {};
  std::vector<std::vector<std::string>> lines(1);
  for (const auto& [name, value] : entries.front().items()) lines.front().push_back(name);
  for (const Json& entry : entries) {
    lines.emplace_back();
    for (const Json& value : entry) lines.back().push_back(ValueText(value));
  }
  std::vector<std::size_t> widths(lines.front().size(), 0);
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      widths[i] = std::max(widths[i], DisplayWidth(line[i]));
    }
  }
  std::string text = "\n";
  for (const auto& line : lines) text += Line(line, widths);
  return text;
}

}  // namespace

std::string ValueText(const Json& value) {
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (!value.is_string()) return OneLine(value);
  const auto& text = value.get_ref<const std::string&>();
  return text.empty() ? "(empty)" : WithoutControls(text);
}

std::string RecordText(const Json& record) {
  std::string text = Rows(record);
  for (const auto& [name, value] : record.items()) {
    if (value.is_array()) text += Table(value);
  }
  return text;
}

}  // namespace orva_accelerator::tools
