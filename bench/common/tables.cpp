#include "bench/common/tables.h"

#include <windows.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace orva_accelerator::bench {

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

std::string number(double value, int digits) {
  char text[64];
  (void)std::snprintf(text, sizeof(text), "%.*f", digits, value);  // A cut number is seen.
  return text;
}

void Tables::begin(const std::string& title, const std::string& text,
                   const std::vector<std::string>& columns) {
  std::printf("\n%s\n", title.c_str());
  markdown_ += "\n### " + title + "\n\n" + text + "\n\n|";
  for (const std::string& column : columns) markdown_ += " " + column + " |";
  markdown_ += "\n|";
  for (std::size_t i = 0; i < columns.size(); ++i) markdown_ += i == 0 ? "---|" : "---:|";
  markdown_ += "\n";
  json_.push_back({{"table", title}, {"rows", nlohmann::ordered_json::array()}});
}

void Tables::add(const std::vector<std::string>& cells, nlohmann::ordered_json data) {
  static const ULONGLONG start = GetTickCount64();
  std::string line = "|";
  for (const std::string& cell : cells) line += " " + cell + " |";
  markdown_ += line + "\n";
  json_.back()["rows"].push_back(std::move(data));
  std::printf("%4llu s %s\n", (GetTickCount64() - start) / 1000, line.c_str());
  (void)std::fflush(stdout);  // Whoever watches sees the row now, or nobody does.
}

void Tables::write(const std::string& name) const {
  writeFile(name + ".md", markdown_);
  writeFile(name + ".json", json_.dump(2) + "\n");
}

}  // namespace orva_accelerator::bench
