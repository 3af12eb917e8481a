// What was measured, as Markdown and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace orva_accelerator::bench {

class Tables {
 public:
  void begin(const std::string& title, const std::string& text,
             const std::vector<std::string>& columns);
  // The cells, in the order of the columns; `data` is what the JSON says of them.
  void add(const std::vector<std::string>& cells, nlohmann::ordered_json data);
  // Files micro.md and micro.json in the working directory.
  void write() const;

 private:
  std::string markdown_;
  nlohmann::ordered_json json_ = nlohmann::ordered_json::array();
};

// A number with the given digits behind the point.
std::string number(double value, int digits);

}  // namespace orva_accelerator::bench
