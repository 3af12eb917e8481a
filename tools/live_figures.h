// Acceleration data as it moves.
#pragma once

#include <map>
#include <string>

#include "tools/records.h"
#include "tools/trend.h"

namespace orva_accelerator::tools {

class LiveFigures {
 public:
  // An answer with the figures.
  void add(Json figures);

  // One row a field with the latest value, and the trend of every figure that has moved.
  std::string text() const;

 private:
  Json latest_;
  std::map<std::string, Trend> trends_;
};

}  // namespace orva_accelerator::tools
