// What is in the results of variable size.
#include "client/c/query_results.h"

#include "client/c/boundary.h"

using namespace orva_accelerator::client;

namespace {

const std::string* TextIn(const LastAccelInfo& info, orva_text text) {
  switch (text) {
    case ORVA_TEXT_INFO_TEXT:
      return &info.infoText;
    case ORVA_TEXT_SERVER_KEY:
      return &info.serverKey;
    default:
      return nullptr;
  }
}

const std::string* TextIn(const GameInfo& info, orva_text text) {
  switch (text) {
    case ORVA_TEXT_GAME_TEXT:
      return &info.gameText;
    case ORVA_TEXT_INFO_TEXT:
      return &info.infoText;
    case ORVA_TEXT_SERVER_KEY:
      return &info.serverKey;
    case ORVA_TEXT_SERVER_TEXT:
      return &info.serverText;
    case ORVA_TEXT_NODE_TEXT:
      return &info.nodeText;
    default:
      return nullptr;
  }
}

const std::string* TextIn(const UsedNode& node, orva_text text) {
  switch (text) {
    case ORVA_TEXT_USED_TEXT1:
      return &node.usedText1;
    case ORVA_TEXT_USED_TEXT2:
      return &node.usedText2;
    default:
      return nullptr;
  }
}

const UsedNode* NodeAt(const orva_used_nodes* nodes, std::size_t index) {
  if (nodes == nullptr || index >= nodes->value.nodes.size()) return nullptr;
  return &nodes->value.nodes[index];
}

}  // namespace

orva_code orva_accel_data_get_numbers(const orva_accel_data* data,
                                      orva_accel_data_numbers* numbers) {
  if (data == nullptr || numbers == nullptr) return ORVA_ERROR_USAGE;
  const AccelData& value = data->value;
  *numbers =
      orva_accel_data_numbers{value.value1, value.value2, value.value3, value.value4, value.value5,
                              value.value6, value.value8, value.value9, value.value10};
  return ORVA_OK;
}

const char* orva_accel_data_get_text(const orva_accel_data* data, orva_text text, size_t* length) {
  return GiveText(data != nullptr && text == ORVA_TEXT_TEXT3 ? &data->value.text3 : nullptr,
                  length);
}

void orva_accel_data_free(orva_accel_data* data) {
  delete data;
}

orva_code orva_last_accel_info_get_numbers(const orva_last_accel_info* info,
                                           orva_last_accel_info_numbers* numbers) {
  if (info == nullptr || numbers == nullptr) return ORVA_ERROR_USAGE;
  const LastAccelInfo& value = info->value;
  *numbers = orva_last_accel_info_numbers{value.status, value.areaId, value.nodeId,
                                          value.infoFlag ? 1 : 0, value.infoValue};
  return ORVA_OK;
}

const char* orva_last_accel_info_get_text(const orva_last_accel_info* info, orva_text text,
                                          size_t* length) {
  return GiveText(info == nullptr ? nullptr : TextIn(info->value, text), length);
}

void orva_last_accel_info_free(orva_last_accel_info* info) {
  delete info;
}

orva_code orva_game_info_get_numbers(const orva_game_info* info, orva_game_info_numbers* numbers) {
  if (info == nullptr || numbers == nullptr) return ORVA_ERROR_USAGE;
  const GameInfo& value = info->value;
  *numbers = orva_game_info_numbers{value.status,      value.gameId,           value.areaId,
                                    value.nodeId,      value.infoFlag ? 1 : 0, value.infoValue,
                                    value.nodeValue1,  value.nodeValue2,       value.reservedLong,
                                    value.reservedWord};
  return ORVA_OK;
}

const char* orva_game_info_get_text(const orva_game_info* info, orva_text text, size_t* length) {
  return GiveText(info == nullptr ? nullptr : TextIn(info->value, text), length);
}

void orva_game_info_free(orva_game_info* info) {
  delete info;
}

uint32_t orva_used_nodes_get_status(const orva_used_nodes* nodes) {
  return nodes == nullptr ? 0 : nodes->value.status;
}

size_t orva_used_nodes_get_count(const orva_used_nodes* nodes) {
  return nodes == nullptr ? 0 : nodes->value.nodes.size();
}

orva_code orva_used_nodes_get_numbers(const orva_used_nodes* nodes, size_t index,
                                      orva_used_node_numbers* numbers) {
  const UsedNode* node = NodeAt(nodes, index);
  if (node == nullptr || numbers == nullptr) return ORVA_ERROR_USAGE;
  *numbers = orva_used_node_numbers{node->used1, node->used2, node->used3, node->used4};
  return ORVA_OK;
}

const char* orva_used_nodes_get_text(const orva_used_nodes* nodes, size_t index, orva_text text,
                                     size_t* length) {
  const UsedNode* node = NodeAt(nodes, index);
  return GiveText(node == nullptr ? nullptr : TextIn(*node, text), length);
}

void orva_used_nodes_free(orva_used_nodes* nodes) {
  delete nodes;
}

const uint8_t* orva_answer_get_bytes(const orva_answer* answer, size_t* length) {
  if (length != nullptr) *length = answer == nullptr ? 0 : answer->value.size();
  if (answer == nullptr) return nullptr;
  static constexpr uint8_t kNothing = 0;
  return answer->value.empty() ? &kNothing : answer->value.data();
}

void orva_answer_free(orva_answer* answer) {
  delete answer;
}
