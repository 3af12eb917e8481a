#include "tools/records.h"

#include <span>
#include <utility>

#include "tools/display_width.h"

namespace orva_accelerator::tools {

template <>
Json toJson(const orva_used_nodes& record, LongNumbers longNumbers) {
  Json nodes = Json::array();
  for (const orva_used_node& node : std::span(record.nodes, record.count)) {
    nodes.push_back(toJson(node, longNumbers));
  }
  return Json{{"status", record.status}, {"count", record.count}, {"nodes", std::move(nodes)}};
}

std::string oneLine(const Json& json, Characters characters) {
  const bool ascii = characters == Characters::Ascii;
  const std::string line = json.dump(-1, ' ', ascii, Json::error_handler_t::replace);
  // JSON itself lets everything but the first set of control characters through.
  return withoutControls(line, ControlsAs::ForJson);
}

}  // namespace orva_accelerator::tools
