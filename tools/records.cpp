#include "tools/records.h"

#include <string>

namespace orva_accelerator::tools {

Json ToJson(const client::AccelOwner& owner) {
  return Json{{"anyAcceleration", owner.anyAcceleration}, {"ownedByCaller", owner.ownedByCaller}};
}

Json ToJson(const client::LeaveOutcome& outcome) {
  return Json{{"lastClient", outcome.lastClient}, {"remainingClients", outcome.remainingClients}};
}

Json ToJson(const client::AccelData& data) {
  return Json{{"value1", data.value1},  {"value2", data.value2}, {"value3", data.value3},
              {"text3", data.text3},    {"value4", data.value4}, {"value5", data.value5},
              {"value6", data.value6},  {"value8", data.value8}, {"value9", data.value9},
              {"value10", data.value10}};
}

Json ToJson(const client::ConsoleData& data) {
  return Json{{"status", data.status},          {"console1", data.console1},
              {"console2", data.console2},      {"console3", data.console3},
              {"console4", data.console4},      {"console5", data.console5},
              {"consoleFlag", data.consoleFlag}};
}

Json ToJson(const client::LastAccelInfo& info) {
  return Json{{"status", info.status},       {"areaId", info.areaId},
              {"nodeId", info.nodeId},       {"infoFlag", info.infoFlag},
              {"infoValue", info.infoValue}, {"infoText", info.infoText},
              {"serverKey", info.serverKey}};
}

Json ToJson(const client::SpeedSummary& speed) {
  Json json{{"status", speed.status}};
  for (std::size_t i = 0; i < speed.summary.size(); ++i) {
    json["summary" + std::to_string(i + 1)] = speed.summary[i];
  }
  return json;
}

Json ToJson(const client::GameInfo& info) {
  return Json{{"status", info.status},
              {"gameId", info.gameId},
              {"gameText", info.gameText},
              {"areaId", info.areaId},
              {"serverKey", info.serverKey},
              {"serverText", info.serverText},
              {"nodeId", info.nodeId},
              {"nodeText", info.nodeText},
              {"nodeValue1", info.nodeValue1},
              {"nodeValue2", info.nodeValue2},
              {"infoFlag", info.infoFlag},
              {"infoValue", info.infoValue},
              {"infoText", info.infoText},
              {"reservedWord", info.reservedWord},
              {"reservedLong", info.reservedLong}};
}

Json ToJson(const client::UsedNodeList& list) {
  Json nodes = Json::array();
  for (const client::UsedNode& node : list.nodes) {
    nodes.push_back(Json{{"used1", node.used1},
                         {"used2", node.used2},
                         {"usedText1", node.usedText1},
                         {"used3", node.used3},
                         {"usedText2", node.usedText2},
                         {"used4", node.used4}});
  }
  return Json{{"status", list.status}, {"count", list.nodes.size()}, {"nodes", std::move(nodes)}};
}

std::string OneLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace orva_accelerator::tools
