#include "tools/records.h"

#include <span>
#include <utility>

#include "tools/display_width.h"

namespace orva_accelerator::tools {

template <>
Json ToJson(const orva_used_nodes& list) {
  Json nodes = Json::array();
  for (const orva_used_node& node : std::span(list.nodes, list.count)) {
    nodes.push_back(ToJson(node));
  }
  return Json{{"status", list.status}, {"count", list.count}, {"nodes", std::move(nodes)}};
}

std::string OneLine(const Json& json) {
  const std::string line = json.dump(-1, ' ', false, Json::error_handler_t::replace);
  // JSON itself lets everything but the first set of control characters through.
  return WithoutControls(line, ControlsAs::ForJson);
}

}  // namespace orva_accelerator::tools
