#include "tools/records.h"

#include <span>
#include <utility>

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
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace orva_accelerator::tools
