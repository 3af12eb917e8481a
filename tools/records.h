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

// Numbers of 64 bits as decimal texts, whatever their value: many JSON readers would round the
// large ones, and a member must not change its type. As numbers only for what calculates with them.
enum class LongNumbers { AsText, AsNumbers };

// The fields that client::AnswerFields lists; those of an array one by one.
template <typename Record>
Json toJson(const Record& record, LongNumbers longNumbers = LongNumbers::AsText) {
  Json json = Json::object();
  client::forEachField<Record>([&](const auto& field) {
    const auto& value = record.*field.member;
    if constexpr (std::is_same_v<decltype(value), const orva_text&>) {
      json[field.name] = std::string_view(value);
    } else if constexpr (std::is_array_v<std::remove_reference_t<decltype(value)>>) {
      std::size_t number = 0;
      for (const auto& element : value) json[field.name + std::to_string(++number)] = element;
    } else if (field.kind == client::FieldKind::Number) {
      const bool asText = sizeof(value) == 8 && longNumbers == LongNumbers::AsText;
      json[field.name] = asText ? Json(std::to_string(value)) : Json(value);
    } else {
      json[field.name] = value != 0;
    }
  });
  return json;
}
template <>
Json toJson(const orva_used_nodes& record, LongNumbers longNumbers);

// The version of what programs read: raised when a member is taken away or changes its meaning.
constexpr int kJsonSchema = 1;

// One line without line end; bytes that are not UTF-8 become U+FFFD. In ASCII where whoever reads
// it may take it for another code page.
enum class Characters { All, Ascii };
std::string oneLine(const Json& json, Characters characters = Characters::All);

}  // namespace orva_accelerator::tools
