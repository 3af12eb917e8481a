// What was measured, as Markdown and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace orva_accelerator::bench {

class Tables {
 public:
  // Begins a table; `text` says what one row is about.
  void begin(const std::string& title, const std::string& text,
             const std::vector<std::string>& columns);
  // The cells, in the order of the columns; `data` is what the JSON says of them.
  void add(const std::vector<std::string>& cells, nlohmann::ordered_json data);
  // Files `name`.md and `name`.json, where a name may be a path.
  void write(const std::string& name) const;

 private:
  std::string markdown_;
  nlohmann::ordered_json json_ = nlohmann::ordered_json::array();
};

// Makes or replaces a file; what cannot be written is a std::runtime_error.
void writeFile(const std::string& path, const std::string& text);

// A number with the given digits behind the point.
std::string number(double value, int digits);

}  // namespace orva_accelerator::bench
