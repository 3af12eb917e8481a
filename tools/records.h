// Answers as JSON objects. The same objects are what people see as rows and tables, so that both
// forms carry the same fields under the same names, which are those of the wire records.
#pragma once

#include <nlohmann/json.hpp>

#include "client/responses.h"

namespace orva_accelerator::tools {

using Json = nlohmann::ordered_json;

Json ToJson(const client::AccelOwner& owner);
Json ToJson(const client::LeaveOutcome& outcome);
Json ToJson(const client::AccelData& data);
Json ToJson(const client::ConsoleData& data);
Json ToJson(const client::LastAccelInfo& info);
Json ToJson(const client::SpeedSummary& speed);
Json ToJson(const client::GameInfo& info);
Json ToJson(const client::UsedNodeList& list);

// One line without line end; bytes that are not UTF-8 become U+FFFD.
std::string OneLine(const Json& json);

}  // namespace orva_accelerator::tools
