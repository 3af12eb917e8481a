// Answers as JSON objects. The same objects are what people see as rows and tables, so that both
// forms carry the same fields under the same names, which are those of the wire records.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <type_traits>

#include "client/answer_fields.h"

namespace orva_accelerator::tools {

using Json = nlohmann::ordered_json;

// The fields that client::AnswerFields lists; those of an array one by one.
template <typename Record>
Json toJson(const Record& record) {
  Json json = Json::object();
  client::forEachField<Record>([&](const auto& field) {
    const auto& value = record.*field.member;
    if constexpr (std::is_same_v<decltype(value), const orva_text&>) {
      json[field.name] = std::string_view(value);
    } else if constexpr (std::is_array_v<std::remove_reference_t<decltype(value)>>) {
      std::size_t number = 0;
      for (const auto& element : value) json[field.name + std::to_string(++number)] = element;
    } else if (field.kind == client::FieldKind::Number) {
      json[field.name] = value;
    } else {
      json[field.name] = value != 0;
    }
  });
  return json;
}
template <>
Json toJson(const orva_used_nodes& record);

// One line without line end; bytes that are not UTF-8 become U+FFFD.
std::string oneLine(const Json& json);

}  // namespace orva_accelerator::tools
