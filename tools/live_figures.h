// Acceleration data as it moves.
#pragma once

#include <map>
#include <string>

#include "client/responses.h"
#include "tools/trend.h"

namespace orva_accelerator::tools {

class LiveFigures {
 public:
  void Add(const client::AccelData& data);

  // One row a field with the latest value, and the trend of every figure that has moved.
  std::string Text() const;

 private:
  client::AccelData latest_;
  std::map<std::string, Trend> trends_;
};

}  // namespace orva_accelerator::tools
