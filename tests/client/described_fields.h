// Decoded records against what golden vectors say they mean.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>

#include "client/answer_fields.h"

namespace orva_accelerator::test {

// Every described field has the value of its name, and no value is without a field.
template <typename Record>
void expectFields(const Record& record, const nlohmann::json& values) {
  std::set<std::string> described;
  client::forEachField<Record>([&](const auto& field) {
    SCOPED_TRACE(field.name);
    if (field.kind == client::FieldKind::Derived) return;
    described.insert(field.name);
    ASSERT_TRUE(values.contains(field.name));
    const nlohmann::json& expected = values.at(field.name);
    const auto& value = record.*field.member;
    if constexpr (std::is_same_v<decltype(value), const orva_text&>) {
      EXPECT_EQ(std::string(value.bytes, value.length), expected.template get<std::string>());
    } else {
      EXPECT_EQ(nlohmann::json(value), expected);
    }
  });
  for (const auto& [name, value] : values.items()) {
    EXPECT_TRUE(described.contains(name) || name == "clientId" || name == "timestamp") << name;
  }
}

}  // namespace orva_accelerator::test
