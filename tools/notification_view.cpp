#include "tools/notification_view.h"

#include <variant>

#include "ipc/wire/message_types.h"
#include "tools/display_width.h"
#include "tools/hex.h"
#include "tools/record_text.h"

namespace orva_accelerator::tools {
namespace {

const char* TypeName(std::uint32_t type) {
  switch (type) {
    case ipc::NotifyStartAccel:
      return "start";
    case ipc::NotifyStartAccelEx:
      return "start-ex";
    case ipc::NotifyStopAccel:
      return "stop";
    case ipc::NotifyUserLogin:
      return "login";
    default:
      return "unknown";
  }
}

struct Fields {
  Json operator()(const client::AccelResult& result) const {
    Json json{{"stateName", StateName(result.state)},
              {"value1", result.value1},
              {"value2", result.value2},
              {"text1", result.text1},
              {"value3", result.value3},
              {"state", result.state},
              {"value4", result.value4},
              {"value5", result.value5},
              {"text2", result.text2}};
    if (result.textLengthsWrapped) json["textLengthsWrapped"] = true;
    return json;
  }
  Json operator()(const client::StopResult& result) const {
    return Json{{"success", result.success}, {"code", result.code}, {"text", result.text}};
  }
  Json operator()(const client::LoginResult& result) const {
    return Json{{"success", result.code == 0}, {"code", result.code}, {"text", result.text}};
  }
  Json operator()(const client::UnknownResult& result) const {
    return Json{{"payload", PlainHex(result.payload)}};
  }
};

struct Word {
  std::string operator()(const client::AccelResult& result) const {
    return StateName(result.state);
  }
  std::string operator()(const client::StopResult& result) const {
    return result.success ? "stopped" : "failed";
  }
  std::string operator()(const client::LoginResult& result) const {
    return result.code == 0 ? "logged in" : "failed";
  }
  std::string operator()(const client::UnknownResult& /*result*/) const { return "not understood"; }
};

constexpr std::size_t kTypeWidth = 8;
constexpr std::size_t kWordWidth = 12;

}  // namespace

const char* StateName(std::uint32_t state) {
  if (state == client::kStateAccelerating) return "accelerating";
  const bool ended = state >= client::kStateEndedFirst && state <= client::kStateEndedLast;
  return ended ? "ended" : "progress";
}

Json ToJson(const client::Notification& notification, std::uint32_t ownId) {
  Json json{{"notification", TypeName(notification.type)},
            {"type", notification.type},
            {"clientId", notification.clientId},
            {"own", notification.clientId == ownId},
            {"timestamp", notification.timestamp}};
  json.update(std::visit(Fields{}, notification.body));
  return json;
}

std::string NotificationText(const client::Notification& notification, std::uint32_t ownId) {
  std::string line = Padded(TypeName(notification.type), kTypeWidth) + "  client " +
                     std::to_string(notification.clientId) +
                     (notification.clientId == ownId ? " (own)" : "") + "  " +
                     Padded(std::visit(Word{}, notification.body), kWordWidth);
  const char* separator = "  ";
  // items() refers to the object, which therefore has to outlive the loop.
  const Json fields = std::visit(Fields{}, notification.body);
  for (const auto& [name, value] : fields.items()) {
    // Said in the word already; empty texts say nothing.
    // NOLINTNEXTLINE(readability-container-size-empty): a text in JSON is no container.
    if (name == "stateName" || name == "success" || value == "") continue;
    line += separator + name + " " + ValueText(value);
    separator = ", ";
  }
  return line;
}

}  // namespace orva_accelerator::tools
